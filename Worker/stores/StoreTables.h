// The stores of each family of browsers. These are plain data: a new store takes one more line.
//
// Bookmarks, passwords, history, icons, open tabs and the person's settings are kept, and so is the part of every store
// that belongs to extensions.
#pragma once

#include <span>

#include "Worker/browsers/Browser.h"
#include "Worker/stores/Store.h"

namespace tidewell {

struct StoreTables {
  std::span<const Store> profile;   // in each profile
  std::span<const Store> data;      // in the data folder, beside the profiles
  std::span<const Store> caches;    // in the folder of each profile's caches
  std::span<const Store> ownFlash;  // in each profile of a browser that carries a Flash plug-in of its own
};

const StoreTables& storesOf(Family family);

/// The stores in the folders of plug-ins that are not a browser's own. The first table is skipped for a browser that
/// carries a Flash plug-in of its own.
std::span<const Store> pluginDataStores();
std::span<const Store> pluginCacheStores();

// Each is defined in a file of its own.
extern const StoreTables kFirefoxStores;
extern const StoreTables kChromiumStores;

}  // namespace tidewell
