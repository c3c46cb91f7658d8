// Whose data stays in the stores of Chromium and its relatives: that of extensions always, that of a site while it is
// kept.
//
// Pure functions of any bytes; any thread.
#pragma once

#include <string_view>

#include "Worker/keeping/KeptSites.h"

namespace tidewell {

// How the stores name an extension: in origins, in names of items, and in any text at all.
inline constexpr std::string_view kExtensionOrigin = "chrome-extension://";
inline constexpr std::string_view kChromeExtension = "chrome-extension_";
inline constexpr std::string_view kAnyExtension = "chrome-extension";

/// By an origin as a part of a file's name (StorageKey.h).
bool keepsIdentifier(const KeptSites& sites, std::string_view identifier);

/// By a storage key.
bool keepsStorageKey(const KeptSites& sites, std::string_view key);

inline bool mentionsExtension(std::string_view bytes) {
  return bytes.find(kAnyExtension) != std::string_view::npos;
}

}  // namespace tidewell
