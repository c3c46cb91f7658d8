#include "Platform/Path.h"

namespace platform {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

}  // namespace

std::vector<std::string> pathComponents(std::string_view path) {
  std::vector<std::string> components;
  if (!path.empty() && path.front() == '/') components.emplace_back("/");
  std::size_t at = 0;
  while (at < path.size()) {
    const std::size_t begin = path.find_first_not_of('/', at);
    if (begin == std::string_view::npos) break;
    at = path.find('/', begin);
    if (at == std::string_view::npos) at = path.size();
    components.emplace_back(path.substr(begin, at - begin));
  }
  return components;
}

std::string appendingPathComponent(std::string_view path, std::string_view component) {
  std::string joined(path);
  if (component.empty()) return joined;
  while (component.size() > 1 && component.front() == '/') component.remove_prefix(1);
  if (!joined.empty() && joined.back() != '/') joined += '/';
  if (component == "/") return joined;
  joined += component;
  return joined;
}

std::string deletingLastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return "/";
  const std::size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return "";
  path = path.substr(0, slash + 1);
  return std::string(withoutTrailingSlashes(path));
}

std::string lastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return "/";
  const std::size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string pathWithComponents(const std::vector<std::string>& components) {
  std::string path;
  for (const std::string& component : components) {
    if (!path.empty() && path.back() != '/') path += '/';
    path += component;
  }
  return path;
}

bool isPathInside(std::string_view path, std::string_view folder) {
  path = withoutTrailingSlashes(path);
  folder = withoutTrailingSlashes(folder);
  if (folder == "/") return !path.empty() && path.front() == '/';
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool isPlainName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

}  // namespace platform
