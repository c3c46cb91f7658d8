// Paths as strings of bytes, and the operations that the worker needs on them.
//
// A path is a byte string: every byte but "/" and NUL may stand in a name. Nothing here accesses the file system.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// The components of a path; the leading "/" counts as one component, repeated and trailing slashes count as none.
/// "/Users/ann/Library" has four: "/", "Users", "ann", "Library".
std::vector<std::string> pathComponents(std::string_view path);

/// Joins with exactly one "/" between; an empty component leaves the path as it is.
std::string appendingPathComponent(std::string_view path, std::string_view component);

/// The path without its last component: "/a/b/" gives "/a", "/a" gives "/", "/" stays, "a" gives "".
std::string deletingLastPathComponent(std::string_view path);

/// "/a/b/" gives "b"; "/" gives "/"; "" gives "".
std::string lastPathComponent(std::string_view path);

/// Whether this can be the name of an item in a folder: not empty, not "." or "..", without "/".
bool isPlainName(std::string_view name);

/// Joins components: the inverse of pathComponents().
std::string pathWithComponents(const std::vector<std::string>& components);

/// True when `path` is `folder` or lies below it, compared component by component. Both must be absolute and free of
/// "." and ".." components; "/ab" does not lie below "/a".
bool isPathInside(std::string_view path, std::string_view folder);

}  // namespace platform
