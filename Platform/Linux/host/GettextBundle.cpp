#include "Platform/Linux/host/GettextBundle.h"

#include <libintl.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <clocale>
#include <utility>

#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

constexpr char kTextDomain[] = "tidewell";

void useCatalogues(const std::string& sharedFolder) {
  ::bindtextdomain(kTextDomain, appendingPathComponent(sharedFolder, "locale").c_str());
  ::bind_textdomain_codeset(kTextDomain, "UTF-8");
}

}  // namespace

GettextBundle::GettextBundle(BundleInfo info, const std::string& sharedFolder)
    : info_(std::move(info)), resourcesFolder_(appendingPathComponent(sharedFolder, "tidewell")) {
  useCatalogues(sharedFolder);
}

void GettextBundle::useLanguageOfEnvironment() {
  std::setlocale(LC_ALL, "");
}

void GettextBundle::useTextsBesideProgram() {
  useLanguageOfEnvironment();
  useCatalogues(sharedFolderOfExecutable());
}

std::string GettextBundle::sharedFolderOfExecutable() {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  const std::string executable(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  return appendingPathComponent(deletingLastPathComponent(deletingLastPathComponent(executable)), "share");
}

std::optional<std::string> GettextBundle::objectForInfoDictionaryKey(std::string_view key) const {
  const auto found = info_.dictionary.find(key);
  return found != info_.dictionary.end() ? std::optional(found->second) : std::nullopt;
}

std::string GettextBundle::localizedString(const std::string& key, const std::string& value) const {
  const std::string& fallback = value.empty() ? key : value;
  if (key.empty()) return fallback;  // the empty key is that of the catalogue's own header
  const char* translation = ::dgettext(kTextDomain, key.c_str());
  return translation != key.c_str() ? translation : fallback;
}

std::string GettextBundle::localizedPlural(const std::string& one, const std::string& many, std::uint64_t count) const {
  return ::dngettext(kTextDomain, one.c_str(), many.c_str(), count);
}

std::optional<FileURL> GettextBundle::urlForResource(std::string_view name, std::string_view extension) const {
  std::string file(name);
  if (!extension.empty()) file.append(".").append(extension);
  const std::string path = appendingPathComponent(resourcesFolder_, file);
  if (::access(path.c_str(), F_OK) != 0) return std::nullopt;
  return FileURL(path);
}

}  // namespace platform::linux_
