// The files in which Firefox keeps the session: "sessionstore.jsonlz4" and those in "sessionstore-backups".
//
// The windows, groups and tabs, closed ones included, keep their addresses, titles and order. What a site has stored
// (cookies of the session, session storage, state of history entries) and what was typed into its forms is removed.
// What extensions and the browser's own pages store in the session stays.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "Worker/formats/Rewriting.h"
#include "Worker/keeping/KeptSites.h"

namespace tidewell {

/// The same session without sites' data; all else stays byte for byte. A file that can't be read is removed: it could
/// hold anything, and the browser starts without it. While sites are kept, so is such a file; of a session the cookies
/// of those sites stay. Any thread.
Rewriting withoutSiteData(std::string_view jsonlz4, const KeptSites& sites = {});

// The steps of it.

inline constexpr std::size_t kLargestSession = std::size_t{256} << 20;  // bytes, unpacked: far above any session

/// The text in such a file, which is JSON as a rule; absent when it is no such file.
std::optional<std::string> unpackedSession(std::string_view jsonlz4);
/// The text without sites' data; absent when it is no JSON.
std::optional<std::string> sessionWithoutSiteData(std::string_view json, const KeptSites& sites);
/// A file with this text, which is no larger than kLargestSession.
std::string packedSession(std::string_view json);

}  // namespace tidewell
