// The index of one origin's caches in a Chromium: "index.txt" in a folder of "Service Worker/CacheStorage".
//
// It is the only place that tells whose caches these are: the folder's name is a digest. It is read field by field, not
// searched: a site may name its caches as it likes, like an extension too.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

/// The origin as the index has it, with a slash at its end ("https://a.test/", "chrome-extension://…/"). Of a frame
/// inside another site's page it is the frame's own. Absent when the bytes can't be read through to the end, or don't
/// say. Any thread.
std::optional<std::string> originOfCacheStorage(std::string_view indexTxt);

}  // namespace tidewell
