#include "MainApplication/command/Commands.h"

#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/DidYouMean.h"
#include "MainApplication/command/Texts.h"
#include "Platform/PrintableText.h"

namespace tidewell {
using platform::printable;

std::vector<const Browser*> Commands::browsersFor(const std::vector<std::string>& texts) {
  std::vector<const Browser*> found;
  for (const std::string& text : texts) {
    found.push_back(browserCalled(text));
    if (found.back() != nullptr) continue;
    std::vector<std::string> words;
    for (const Browser* known : settings_.knownBrowsers()) {
      words.insert(words.end(), known->words.begin(), known->words.end());
      words.emplace_back(known->name);
    }
    const std::string meant = mostLike(text, words);
    misused(meant.empty()
                ? localized("there is no browser \"%@\": \"tidewell browsers\" lists those that there are", {text})
                : localized("there is no browser \"%@\": did you mean \"%@\"? \"tidewell browsers\" lists all",
                            {text, meant}));
    return {};
  }
  return found;
}

int Commands::done(const std::string& what) {
  output_ << printable(what) << '\n';
  return kDone;
}

int Commands::fail(const std::string& why) {
  errors_ << "tidewell: " << printable(why) << '\n';
  return kFailed;
}

int Commands::failToWrite() {
  return fail(localized("the settings could not be written: is the disk full, or the folder %@ not yours?",
                        {platform::linux_::SqliteUserDefaults::folderFromEnvironment()}));
}

int Commands::misused(const std::string& why) {
  fail(why);
  return kMisused;
}

std::unique_ptr<WorkerConnection> Commands::worker(platform::linux_::RunLoop& loop) {
  auto connection = WorkerConnection::open(loop);
  if (!connection) {
    fail(localized("there is no session bus (%@): do this in your session, or see \"tidewell doctor\"",
                   {connection.error().message()}));
    return nullptr;
  }
  if (!(*connection)->isRunning() && !(*connection)->start()) {
    fail(
        localized("the worker does not run: \"systemctl --user start tidewell-worker\" starts it, or see \"tidewell "
                  "doctor\""));
    return nullptr;
  }
  return std::move(*connection);
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
  if (word != words.on && word != words.off) return misused(localized("say \"%@\" or \"%@\"", {words.on, words.off}));
  if (!settings_.setFlag(key, word == words.on)) return failToWrite();
  return done(word == words.on ? words.isOn : words.isOff);
}

}  // namespace tidewell
