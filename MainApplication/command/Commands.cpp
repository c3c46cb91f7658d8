#include "MainApplication/command/Commands.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <utility>

#include "Platform/PrintableText.h"

namespace tidewell {
using platform::printable;

std::vector<const Browser*> Commands::browsersFor(const std::vector<std::string>& texts) {
  std::vector<const Browser*> found;
  for (const std::string& text : texts) {
    const Browser* browser = browserCalled(text);
    if (browser == nullptr) {
      errors_ << "tidewell: there is no browser \"" << printable(text) << "\"; known are";
      const char* separator = " ";
      for (const Browser* known : settings_.knownBrowsers()) errors_ << std::exchange(separator, ", ") << known->name;
      errors_ << '\n';
      return {};
    }
    found.push_back(browser);
  }
  return found;
}

int Commands::fail(const std::string& why) {
  errors_ << "tidewell: " << printable(why) << '\n';
  return kFailed;
}

int Commands::browsers() {
  if (options_.json) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Browser* browser : settings_.knownBrowsers()) {
      const std::vector<std::string_view> words(browser->words.begin(), browser->words.end());
      list.push_back({{"name", browser->name}, {"identifier", browser->bundleIdentifier}, {"words", words}});
    }
    output_ << list.dump(2) << '\n';
    return kDone;
  }
  for (const Browser* browser : settings_.knownBrowsers()) {
    std::string line(*browser->words.begin());
    if (!options_.onlyWords) {
      line.resize(20, ' ');
      line += browser->name;
      line.resize(40, ' ');
      line += browser->bundleIdentifier;
    }
    output_ << line << '\n';
  }
  return kDone;
}

int Commands::setFlag(const std::string& key, const std::string& word, const FlagWords& words) {
  if (word != words.on && word != words.off) {
    errors_ << "tidewell: say " << words.on << " or " << words.off << '\n';
    return kMisused;
  }
  return settings_.setFlag(key, word == words.on) ? kDone : fail("the settings could not be written");
}

}  // namespace tidewell
