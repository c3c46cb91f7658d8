// Reading a whole file whose place anybody may have put something else at.
#pragma once

#include <cstddef>
#include <string>

#include "Platform/Result.h"

namespace platform::linux_ {

/// The bytes of a regular file, links followed, whatever is granted. Never waits for another process:
/// std::errc::invalid_argument for a pipe or a device, std::errc::is_a_directory for a folder.
/// std::errc::file_too_large when it has more than `most` bytes.
Result<std::string> contentsOfRegularFile(const std::string& path, std::size_t most);

}  // namespace platform::linux_
