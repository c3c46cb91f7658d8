// The stores of today's browsers that the browsers of old did not have: what they are, and what becomes of each.
//
// Tables of data: next year's store is one more line. Bookmarks, passwords, history, icons, open tabs and the person's
// settings are in none of them, and of every store the part that belongs to extensions is spared.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace tidewell {

/// The cleaner that a store belongs to.
enum class StoreGroup { kCookies, kSiteStorage, kCaches };

/// What becomes of a store: removes what sites have left in it. Does nothing where there is none.
using Treatment = void (*)(const std::string& path);

struct Store {
  StoreGroup group;
  std::string_view path;  // in the folder that the table is for
  Treatment treatment;
  std::string_view holds;  // for people
};

/// In each profile of a browser of the Chrome family.
std::span<const Store> chromeProfileStores();
/// In the data folder of such a browser, beside the profiles.
std::span<const Store> chromeDataStores();
/// In each profile of Firefox.
std::span<const Store> firefoxProfileStores();
/// In the folder in which Firefox keeps its profiles.
std::span<const Store> firefoxDataStores();
/// In the folder of each profile's caches, and in a profile that has its caches in it.
std::span<const Store> firefoxCacheStores();

}  // namespace tidewell
