// A regular file, found once and held by a descriptor, before it is opened for anything.
//
// The pin itself opens nothing: no device is touched, no pipe waited for, and closing it ends no lock that this process
// holds on the file. What is opened through it is the very file that was pinned. Any thread.
#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/Linux/files/SecurityScopes.h"
#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Result.h"

namespace platform::linux_ {

struct FilePin {
  FileDescriptor descriptor;  // O_PATH
  struct stat status {};      // when it was pinned

  /// The regular file at a path; links to its folder are followed, a link in its own place is not. Failures:
  /// operation_not_permitted outside every open scope, too_many_symbolic_link_levels for a link, is_a_directory,
  /// invalid_argument for anything else that is no regular file; cross_device_link for what lies on another mount than
  /// its scope where `mounts` is kSame.
  static Result<FilePin> at(const SecurityScopes& scopes, const std::string& path, Mounts mounts = Mounts::kAny);

  bool isSameFile(const FilePin& other) const;

  /// Opens it with these O_… flags.
  Result<FileDescriptor> open(int flags) const;
};

}  // namespace platform::linux_
