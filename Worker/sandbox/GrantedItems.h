// Single items in granted folders. Internal to sandbox/; the caller holds the grant. Links are not followed, and
// nothing is reached that is mounted below the grant.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "Platform/FileManager.h"
#include "Worker/sandbox/Outcome.h"

namespace tidewell {

/// The platform's files for all that is no operation of Sandbox.
platform::FileManager& grantedItems();

bool isFileOfType(const std::string& path, const char* type);

/// The bytes of a regular file, and the version that they are of. The file stays open as long as this lives.
struct ReadInsideGrant {
  /// `ifLarger` stands for the bytes of a file that has more than `largest`.
  ReadInsideGrant(const std::string& path, std::uint64_t largest,
                  const std::optional<std::string>& ifLarger = std::nullopt);

  std::optional<std::string> bytes;  // absent when the file is missing, can't be read, or is being written
  platform::FileVersion version;
  Outcome outcome;  // why the bytes are absent; kNothing for a missing file

 private:
  std::unique_ptr<platform::ReadableFile> file_;
};

/// Removes an item with all that is in it. A missing item is nothing to do.
Outcome eraseInsideGrant(const std::string& path, platform::Overwriting overwriting);

/// Removes a file unless it is no longer in the version that was read, which must be open: then it was saved meanwhile,
/// and stays.
Outcome eraseUnchangedInsideGrant(const std::string& path, const platform::FileVersion& read,
                                  platform::Overwriting overwriting);

/// Gives a file new contents, likewise: they are completely on the disk before they take the place of the old ones,
/// which are then removed. A file system that can't exchange files leaves the file as it is.
Outcome replaceInsideGrant(const std::string& path, const platform::FileVersion& read, const std::string& contents,
                           platform::Overwriting overwriting);

/// Makes sure that the file at a path has no other name, by giving the path a copy of it if it does. kFailed when
/// anything but a regular file is there; a missing file is fine.
Outcome makeOwnInsideGrant(const std::string& path);

}  // namespace tidewell
