#include "Worker/formats/ChromiumDatabases.h"

#include <algorithm>
#include <string_view>

#include "Worker/keeping/ChromiumOwners.h"

namespace tidewell {
namespace {

using Selection = LevelReading::Selection;

/// "_" and the storage key, then NUL and the name of the item; the others are what is noted about a storage key.
Selection ofLocalStorage(const KeptSites& sites) {
  return [sites, lastKey = std::string(), lastIsKept = false](std::string_view key, std::string_view) mutable {
    constexpr std::string_view kOfOrigins[] = {"_", "META:", "METAACCESS:"};
    for (const std::string_view prefix : kOfOrigins) {
      if (!key.starts_with(prefix)) continue;
      key.remove_prefix(prefix.size());
      key = key.substr(0, key.find('\0'));
      if (key.empty() || key != lastKey) {  // the keys of a site follow one another
        lastKey = key;
        lastIsKept = keepsStorageKey(sites, key);
      }
      return lastIsKept;
    }
    return true;
  };
}

Selection ofFileSystems(const KeptSites& sites, FolderNames& folders) {
  return [sites, &folders](std::string_view key, std::string_view folder) {
    constexpr std::string_view kOrigin = "ORIGIN:";
    if (!key.starts_with(kOrigin)) return true;
    const bool stays = keepsIdentifier(sites, key.substr(kOrigin.size()));
    if (stays) folders.emplace(folder);
    return stays;
  };
}

/// Whether the name by which something registers for messages is a site's: "wp:https://a.test/#3E8E…". Others are those
/// of extensions and of the browser itself.
bool isOfSite(std::string_view registration) {
  return registration.starts_with("wp:");
}

bool isPushRegistrationKept(std::string_view key, std::string_view value) {
  // Registrations, with "iid-" before the name those of a newer kind, and what is noted about the registered.
  constexpr std::string_view kOfRegistered[] = {"reg1-iid-", "reg1-", "iid1-"};
  constexpr std::string_view kMessages[] = {"incoming1-", "outgoing1-"};
  for (const std::string_view prefix : kOfRegistered) {
    if (key.starts_with(prefix)) return !isOfSite(key.substr(prefix.size()));
  }
  return std::none_of(std::begin(kMessages), std::end(kMessages), [&](std::string_view prefix) {
    const auto mentionsSite = [](std::string_view text) { return text.find("wp:http") != std::string_view::npos; };
    return key.starts_with(prefix) && (mentionsSite(key) || mentionsSite(value));
  });
}

/// Whether an extension's identifier is in these bytes.
bool mayMentionExtension(std::string_view bytes) {
  constexpr std::size_t kLength = 32;
  std::size_t length = 0;
  return std::any_of(bytes.begin(), bytes.end(), [&length](char c) {
    length = c >= 'a' && c <= 'p' ? length + 1 : 0;
    return length == kLength;
  });
}

}  // namespace

LevelReading readingOf(ChromiumDatabase database, const KeptSites& sites, FolderNames& folders) {
  // While sites are kept, what can't be told from theirs must stay.
  const auto mayBeKept = [keepsSites = !sites.isEmpty()](std::string_view bytes) {
    return keepsSites || mentionsExtension(bytes);
  };
  switch (database) {
    case ChromiumDatabase::kLocalStorage:
      return {ofLocalStorage(sites), mayBeKept};
    case ChromiumDatabase::kFileSystems:
      return {ofFileSystems(sites, folders), mayBeKept};
    case ChromiumDatabase::kPushRegistrations:
      return {isPushRegistrationKept, mayMentionExtension};
    case ChromiumDatabase::kPushKeys:
      break;
  }
  return {[](std::string_view key, std::string_view) { return !isOfSite(key); }, mayMentionExtension};
}

}  // namespace tidewell
