#include "Worker/keeping/ChromiumOwners.h"

#include "Worker/keeping/StorageKey.h"

namespace tidewell {

bool keepsIdentifier(const KeptSites& sites, std::string_view identifier) {
  if (identifier.starts_with(kChromeExtension)) return true;
  const auto owner = ownerByIdentifier(identifier);
  return owner && sites.keeps(*owner);
}

bool keepsStorageKey(const KeptSites& sites, std::string_view key) {
  if (key.starts_with(kExtensionOrigin)) return true;
  const auto owner = ownerByStorageKey(key);
  return owner && sites.keeps(*owner);
}

}  // namespace tidewell
