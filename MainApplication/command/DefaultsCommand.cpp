#include "MainApplication/command/DefaultsCommand.h"

#include <charconv>
#include <optional>
#include <ostream>

#include "MainApplication/command/Texts.h"
#include "Platform/PrintableText.h"

namespace tidewell {
namespace {

using platform::printable;
using platform::Value;

constexpr char kUsage[] =
    "usage: tidewell defaults read DOMAIN [KEY]\n"
    "       tidewell defaults write DOMAIN KEY [-string S | -bool YES|NO | -int N | -array S...]\n"
    "       tidewell defaults delete DOMAIN [KEY]\n";

std::optional<bool> booleanFromText(const std::string& text) {
  if (text == "YES" || text == "yes" || text == "true" || text == "1") return true;
  if (text == "NO" || text == "no" || text == "false" || text == "0") return false;
  return std::nullopt;
}

std::optional<std::int64_t> integerFromText(const std::string& text) {
  std::int64_t number = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
}

/// The value that the words after the key describe; absent when they describe none.
std::optional<Value> valueFromWords(const std::vector<std::string>& words) {
  if (words.size() == 1 && !words[0].starts_with('-')) return Value(words[0]);
  if (words.empty()) return std::nullopt;
  if (words[0] == "-array") {
    Value::Array array(words.begin() + 1, words.end());
    return Value(std::move(array));
  }
  if (words.size() != 2) return std::nullopt;
  if (words[0] == "-string") return Value(words[1]);
  if (words[0] == "-bool") {
    if (const auto boolean = booleanFromText(words[1])) return Value(*boolean);
  }
  if (words[0] == "-int") {
    if (const auto integer = integerFromText(words[1])) return Value(*integer);
  }
  return std::nullopt;
}

/// The value with all its texts made safe to show: names of folders, and what browsers were started with, are in them.
Value printableValue(const Value& value) {
  if (const auto* text = value.as<std::string>()) return printable(*text);
  if (const auto* array = value.as<Value::Array>()) {
    Value::Array shown;
    for (const Value& element : *array) shown.push_back(printableValue(element));
    return shown;
  }
  if (const auto* dictionary = value.as<Value::Dictionary>()) {
    Value::Dictionary shown;
    for (const auto& [key, element] : *dictionary) shown.insert_or_assign(printable(key), printableValue(element));
    return shown;
  }
  return value;
}

}  // namespace

int DefaultsCommand::run(const Arguments& arguments) {
  if (arguments.size() < 2) return misused(localized("a command and a domain are needed"));
  const auto file = domains_.fileOfDomain(arguments[1]);
  if (!file) return misused(localized("\"%@\" can't be a domain's name", {arguments[1]}));
  if (arguments[0] == "read") return read(*file, arguments);
  if (arguments[0] == "write") return write(*file, arguments);
  if (arguments[0] == "delete") return erase(*file, arguments);
  return misused(localized("there is no command \"%@\": \"tidewell --help\" lists all", {arguments[0]}));
}

int DefaultsCommand::read(platform::linux_::DefaultsFile& file, const Arguments& arguments) {
  if (arguments.size() > 3) return misused(localized("too many words"));
  if (arguments.size() == 2) {
    Value::Dictionary all = file.readAll();
    if (all.empty()) return missing(arguments);
    output_ << printableValue(Value(std::move(all))).description() << '\n';
    return kDone;
  }
  const std::optional<Value> value = file.read(arguments[2]);
  if (!value) return missing(arguments);
  output_ << printableValue(*value).description() << '\n';
  return kDone;
}

int DefaultsCommand::write(platform::linux_::DefaultsFile& file, const Arguments& arguments) {
  if (arguments.size() < 3) return misused(localized("a key and a value are needed"));
  const std::optional<Value> value = valueFromWords({arguments.begin() + 3, arguments.end()});
  if (!value) return misused(localized("that is no value"));
  // If this fails, the file has logged the reason.
  if (!file.write(arguments[2], *value) || !file.checkpoint()) return kFailed;
  output_ << localized("%@ is set in %@.", {printable(arguments[2]), printable(arguments[1])}) << '\n';
  return kDone;
}

int DefaultsCommand::erase(platform::linux_::DefaultsFile& file, const Arguments& arguments) {
  if (arguments.size() > 3) return misused(localized("too many words"));
  if (arguments.size() == 2 ? file.readAll().empty() : !file.read(arguments[2])) return missing(arguments);
  const bool done = arguments.size() == 2 ? file.eraseAll() : file.erase(arguments[2]);
  if (!done) {
    errors_ << "tidewell: " << localized("the settings could not be changed: is the disk full?") << '\n';
    return kFailed;
  }
  output_ << (arguments.size() == 2
                  ? localized("%@ is empty now.", {printable(arguments[1])})
                  : localized("%@ is deleted from %@.", {printable(arguments[2]), printable(arguments[1])}))
          << '\n';
  return kDone;
}

int DefaultsCommand::missing(const Arguments& arguments) {
  errors_ << "tidewell: "
          << (arguments.size() > 2
                  ? localized("%@ has no value for %@", {printable(arguments[1]), printable(arguments[2])})
                  : localized("%@ has no settings", {printable(arguments[1])}))
          << '\n';
  return kFailed;
}

int DefaultsCommand::misused(const std::string& why) {
  errors_ << "tidewell: " << printable(why) << '\n' << kUsage;
  return kMisused;
}

}  // namespace tidewell
