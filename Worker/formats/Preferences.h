// The file "Preferences" in a profile of a Chromium: the person's settings, and among them what sites have left.
//
// What sites have left are their permissions and all else that the browser notes about single sites. What belongs to
// extensions, to the browser's own pages and to local files stays, as do addresses that the person has chosen (home
// page, pages at start, search engines, bookmarks). "Secure Preferences" holds no entry of a site, on Linux only a
// checksum; the checksums in "Preferences" cover nothing that is removed.
#pragma once

#include "Worker/formats/Kept.h"
#include "Worker/formats/Rewriting.h"

namespace tidewell {

/// The same settings without what sites have left, but with what is kept; all else stays byte for byte. A text that is
/// no JSON, or in which nothing of a site is found, is left alone, so a second pass changes nothing. Any thread.
Rewriting withoutSites(std::string_view preferences, const Kept& kept = {});

}  // namespace tidewell
