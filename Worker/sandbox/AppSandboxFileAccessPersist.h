// The store of bookmarks: what the person granted, kept in the worker's own settings.
//
// Class operations only, no state; any thread.
#pragma once

#include <optional>
#include <string>

#include "Platform/FileURL.h"
#include "Platform/Value.h"

namespace tidewell {

class AppSandboxFileAccessPersist {
 public:
  AppSandboxFileAccessPersist() = delete;

  /// "bd_" and the URL's text form: percent-encoded, with a trailing "/" for a folder.
  static std::string keyForBookmarkDataForURL(const platform::FileURL& url);

  /// The data of the URL, or else of the nearest folder above it that has any; "/" itself is never looked up.
  static std::optional<platform::Data> bookmarkDataForURL(const platform::FileURL& url);

  static void setBookmarkData_forURL(const platform::Data& data, const platform::FileURL& url);

  /// Removes the URL's own entry; those of folders above it stay.
  static void clearBookmarkDataForURL(const platform::FileURL& url);
};

}  // namespace tidewell
