// The content of bookmark data: which file was granted.
//
// The bytes: a magic number with the version, the file's identity, the path, and a checksum over all of it. They are
// opaque to everyone else, and bytes that do not decode exactly are no bookmark.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Value.h"

namespace platform::linux_ {

/// Distinguishes a file from another that takes its place. Device numbers are left out: they change between boots.
struct FileIdentity {
  std::uint64_t inode = 0;
  std::int64_t birthNanoseconds = 0;  // since 1970; 0 where the file system records no birth time

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

struct BookmarkData {
  FileIdentity identity;
  std::string path;  // absolute, without links, "." or ".."

  Data encoded() const;
  static std::optional<BookmarkData> decoded(const Data& data);
};

}  // namespace platform::linux_
