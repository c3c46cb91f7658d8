// Locks on whole files against other processes.
//
// Such a lock belongs to the process: a second one on the same file would be granted to the process that holds the
// first, and closing any descriptor of the file ends them all. So the process keeps one list of locked files, and does
// not even open a file that is in it. Any thread.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Platform/FileManager.h"
#include "Platform/Linux/files/SecurityScopes.h"

namespace platform::linux_ {

/// As FileManager::lockFile(). Within this process, too, a file is locked once:
/// resource_unavailable_try_again while another lock on it lives, under whatever name.
Result<std::unique_ptr<FileLock>> lockFile(const SecurityScopes& scopes, const std::string& path, Mounts mounts);

/// As FileManager::lockHolder().
std::optional<int> lockHolder(const SecurityScopes& scopes, const std::string& path, Mounts mounts);

}  // namespace platform::linux_
