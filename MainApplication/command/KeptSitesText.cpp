#include "MainApplication/command/KeptSitesText.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <set>

#include "MainApplication/preview/PreviewFiles.h"
#include "Worker/database/Sqlite.h"
#include "Worker/formats/JsonBounds.h"
#include "Worker/keeping/Host.h"
#include "Worker/keeping/KeptSites.h"
#include "Worker/keeping/OriginAttributes.h"

namespace tidewell {
namespace {

using nlohmann::json;

constexpr std::size_t kMostValues = 4'000'000;  // in a document

/// The text after its scheme, if it has one; absent when the scheme is not that of sites.
std::optional<std::string_view> withoutScheme(std::string_view text) {
  const std::size_t end = text.find("://");
  if (end == std::string_view::npos) return text;
  const std::string_view scheme = text.substr(0, end);
  return scheme == "http" || scheme == "https" || scheme == "*" ? std::optional(text.substr(end + 3)) : std::nullopt;
}

/// Collects entries, each once.
class Finder {
 public:
  void add(const std::optional<std::string>& entry) {
    if (!entry) {
      ++found_.passedOver;
    } else if (known_.insert(*entry).second) {
      found_.entries.push_back(*entry);
    }
  }
  FoundSites found() && { return std::move(found_); }

 private:
  FoundSites found_;
  std::set<std::string> known_;
};

/// What a pattern of Chromium is about: "[*.]a.test" is a host and all below it, "https://a.test:443" that host alone.
std::optional<std::string> entryOfPattern(std::string_view pattern) {
  constexpr std::string_view kAllBelow = "[*.]";
  const auto host = withoutScheme(pattern);
  if (!host) return std::nullopt;
  return host->starts_with(kAllBelow) ? keptSiteFrom(host->substr(kAllBelow.size()))
                                      : keptSiteFrom("=" + std::string(*host));
}

void addRulesOfChromium(const json& rules, Finder& finder) {
  constexpr int kAllowed = 1;
  for (const auto& [patterns, rule] : rules.items()) {
    const auto setting = rule.is_object() ? rule.find("setting") : rule.end();
    if (!rule.is_object() || setting == rule.end() || *setting != kAllowed) continue;
    const std::size_t comma = patterns.rfind(',');
    const bool isEverywhere = comma == std::string::npos || patterns.substr(comma + 1) == "*";
    finder.add(isEverywhere ? entryOfPattern(std::string_view(patterns).substr(0, comma)) : std::nullopt);
  }
}

/// The site that an object of a list is about; null when it is about none.
const std::string* siteIn(const json& object) {
  static constexpr std::array kNames{"host", "hostname", "domain", "site", "url", "origin", "expression", "pattern"};
  for (const char* name : kNames) {
    const auto value = object.find(name);
    if (value != object.end() && value->is_string()) return value->get_ptr<const std::string*>();
  }
  return nullptr;
}

/// Some lists hold, beside sites that are kept, those that are kept for a while only.
bool isKeptForGood(const json& object) {
  const auto kind = object.find("listType");
  return kind == object.end() || *kind == "WHITE" || *kind == "white";
}

/// False when there is something in it that is no list of sites.
bool addList(const json& list, Finder& finder) {
  if (list.is_string()) {
    finder.add(keptSiteFrom(list.get_ref<const std::string&>()));
    return true;
  }
  if (list.is_array()) {
    return std::all_of(list.begin(), list.end(), [&finder](const json& element) { return addList(element, finder); });
  }
  if (!list.is_object()) return false;
  if (const std::string* site = siteIn(list)) {
    finder.add(isKeptForGood(list) ? keptSiteFrom(*site) : std::nullopt);
    return true;
  }
  bool hasLists = list.empty();
  for (const json& member : list) {
    if (member.is_array() || member.is_object()) hasLists = addList(member, finder) || hasLists;
  }
  return hasLists;
}

}  // namespace

std::optional<std::string> keptSiteFrom(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  text.remove_prefix(begin);
  text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
  const bool isAlone = text.starts_with('=');
  if (isAlone) text.remove_prefix(1);
  const auto rest = withoutScheme(text);
  if (!rest) return std::nullopt;
  text = *rest;
  for (const std::string_view all : {"*.", "."}) {
    if (!isAlone && text.starts_with(all)) text.remove_prefix(all.size());
  }
  text = text.substr(0, text.find_first_of("/?#"));
  auto host = canonicalHost(text);
  if (!host) host = hostOfAddress("https://" + std::string(text));  // with a port
  return host ? KeptSites::canonicalEntry((isAlone ? "=" : "") + *host) : std::nullopt;
}

std::optional<FoundSites> keptSitesInJson(std::string_view text) {
  if (!isBoundedJson(text, kMostValues)) return std::nullopt;
  const json document = json::parse(text, nullptr, false);
  if (document.is_discarded()) return std::nullopt;
  Finder finder;
  static const json::json_pointer kRules("/profile/content_settings/exceptions/cookies");
  if (document.is_object() && document.contains("profile")) {
    if (document.contains(kRules) && document[kRules].is_object()) addRulesOfChromium(document[kRules], finder);
    return std::move(finder).found();
  }
  const bool isList = (document.is_array() || document.is_object()) && addList(document, finder);
  return isList ? std::optional(std::move(finder).found()) : std::nullopt;
}

std::optional<FoundSites> keptSitesInPermissions(const std::string& path) {
  // Allowed, and not only until the browser quits.
  static constexpr char kAllowed[] = "SELECT origin FROM moz_perms WHERE type = 'cookie' AND permission = 1;";
  const AnonymousFiles files;
  const std::string copy = files.path("permissions");
  if (!PreviewFiles::copy(path, copy)) return std::nullopt;
  Sqlite database;
  if (!database.open(copy)) return std::nullopt;
  const auto rows = database.executeQuery(kAllowed);
  if (!rows) return std::nullopt;
  Finder finder;
  for (const Row row : *rows) {
    const std::string origin(row.stringForKey("origin").value_or(""));
    finder.add(keptSiteFrom(origin.substr(0, origin.find('^'))));
  }
  return std::move(finder).found();
}

}  // namespace tidewell
