// Opening below an open folder, so that nothing can lead out of it.
#pragma once

#include <string>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Result.h"

namespace platform::linux_ {

/// Which mounts may be entered on the way down.
enum class Mounts {
  kAny,
  kSame,  // only the one that the folder itself lies on: a bind mount below it counts as another
};

/// Opens a path relative to the open folder, with these O_… flags, over no symbolic link and never above the folder.
/// Failures: cross_device_link where the path leads to another mount and `mounts` is kSame;
/// too_many_symbolic_link_levels for a link; else what the system says.
Result<FileDescriptor> openBeneath(int folder, const std::string& path, int flags, Mounts mounts);

/// Opens an absolute path, over no symbolic link.
Result<FileDescriptor> openOverNoLink(const std::string& path, int flags);

}  // namespace platform::linux_
