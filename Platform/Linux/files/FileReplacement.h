// Creates and exchanges items, so that earlier ones are replaced atomically. Each item is given by its folder, which
// was opened under the open scopes; links in an item's own place are never followed. Any thread.
#pragma once

#include <sys/stat.h>

#include <string_view>
#include <system_error>

#include "Platform/FileManager.h"
#include "Platform/Linux/files/SecurityScopes.h"

namespace platform::linux_ {

FileVersion versionOf(const struct stat& status);

// As FileManager's operations of these names.

std::error_code createFolder(const ItemLocation& item);
std::error_code createFile(const ItemLocation& item, std::string_view contents, unsigned permissions);
std::error_code exchangeItems(const ItemLocation& item, const ItemLocation& other);
Result<bool> exchangeUnlessChanged(const ItemLocation& item, const ItemLocation& other, const FileVersion& read);
Result<bool> moveUnlessChanged(const ItemLocation& item, const ItemLocation& other, const FileVersion& read);

}  // namespace platform::linux_
