// The index of one origin's caches in a Chromium: "index.txt" in a folder of "Service Worker/CacheStorage".
//
// Only the index names the owner of the caches: the folder's name is a digest. It is read field by field, not searched,
// since a site may give its caches any names, an extension's origin too.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

/// Bytes. A cache takes about a hundred in the index, and its name.
inline constexpr std::size_t kLargestCacheStorageIndex = std::size_t{16} << 20;

/// The origin as the index has it, with a slash at its end ("https://a.test/", "chrome-extension://…/"). For a frame
/// inside another site's page, the frame's own origin. Absent when the bytes can't be read to the end, or name no
/// origin. Any thread.
std::optional<std::string> originOfCacheStorage(std::string_view indexTxt);

/// The same with what the storage is partitioned by ("https://a.test/^0https://b.test"): a storage key.
std::optional<std::string> storageKeyOfCacheStorage(std::string_view indexTxt);

}  // namespace tidewell
