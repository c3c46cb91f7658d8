// Sites to keep, as people and other programs write them down.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

/// The entry that a text stands for: of "https://a.test/page", "a.test:81", "*.a.test" and ".a.test" it is "a.test".
/// Absent when it is no site that can be kept.
std::optional<std::string> keptSiteFrom(std::string_view text);

struct FoundSites {
  std::vector<std::string> entries;  // each once, in the order of the file
  std::size_t passedOver = 0;        // texts that stand for no site that can be kept
};

/// The sites in a list of another program, which is JSON: an array of texts, or of objects with the site's host under
/// one of the usual names, at any depth; and the sites whose cookies are allowed in a Chromium's "Preferences".
/// Absent when the text is none of these.
std::optional<FoundSites> keptSitesInJson(std::string_view text);

/// The sites whose cookies are allowed in a Firefox's "permissions.sqlite"; what the browser has not written back yet
/// counts too. Absent when the file is none.
std::optional<FoundSites> keptSitesInPermissions(const std::string& path);

}  // namespace tidewell
