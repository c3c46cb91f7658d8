#include "Worker/stores/StoreTables.h"

#include "Worker/stores/Treatments.h"

namespace tidewell {
namespace {

constexpr StoreTables kNoStores;

constexpr Store kPluginData[] = {
    {StoreAge::kOld, StoreGroup::kSiteStorage, "Flash_Player", treatments::removeWhole, "data of the Flash plug-in"},
};

constexpr Store kPluginCaches[] = {
    {StoreAge::kOld, StoreGroup::kCaches, "Flash_Player/AssetCache", treatments::removeWhole,
     "parts of programs for the Flash plug-in"},
};

}  // namespace

const StoreTables& storesOf(Family family) {
  switch (family) {
    case Family::kFirefox:
      return kFirefoxStores;
    case Family::kChromium:
      return kChromiumStores;
    case Family::kSafari:
      break;
  }
  return kNoStores;
}

std::span<const Store> pluginDataStores() {
  return kPluginData;
}

std::span<const Store> pluginCacheStores() {
  return kPluginCaches;
}

}  // namespace tidewell
