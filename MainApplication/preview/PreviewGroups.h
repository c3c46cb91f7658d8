// The kinds of what a preview lists: cookies, other data of sites, caches, and what belongs to no browser's own table.
//
// A line has the group of the store in which it lies, by the tables of Worker/stores, whatever the browser's profile is
// called.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "Worker/browsers/Browser.h"
#include "Worker/homes/Layout.h"

namespace tidewell {

enum class PreviewGroup { kCookies, kSiteData, kCaches, kOther };

/// In the order in which they are shown.
inline constexpr PreviewGroup kPreviewGroups[] = {PreviewGroup::kCookies, PreviewGroup::kSiteData,
                                                  PreviewGroup::kCaches, PreviewGroup::kOther};

/// The words for programs: "cookies", "site-data", "caches", which are those of reports, and "other".
std::string_view wordFor(PreviewGroup group);

/// Where in a home the stores of a browser lie. Reads lists of profiles by the platform that is installed.
class StorePlaces {
 public:
  StorePlaces(const Browser& browser, const Layout& layout, const std::string& home);

  /// The group of a file or folder, by its path: that of the store that it is, or lies in, or is a journal of.
  PreviewGroup groupOf(const std::string& path) const;

 private:
  std::map<std::string, PreviewGroup> groups_;  // by the stores' paths
};

}  // namespace tidewell
