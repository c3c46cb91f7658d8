// The program's identity, with its texts in gettext catalogues and its resources beside the program.
#pragma once

#include <map>
#include <string>

#include "Platform/Bundle.h"

namespace platform::linux_ {

struct BundleInfo {
  std::string identifier;
  std::map<std::string, std::string, std::less<>> dictionary;  // such as "CFBundleDisplayName"
};

class GettextBundle : public Bundle {
 public:
  /// `sharedFolder` holds "locale/LANGUAGE/LC_MESSAGES/tidewell.mo" and the resources in "tidewell/".
  GettextBundle(BundleInfo info, const std::string& sharedFolder);

  /// Takes the person's language from the environment. Once, before threads are started.
  static void useLanguageOfEnvironment();

  /// The same, with the catalogues of texts beside the program: for windows, whose toolkit calls gettext itself.
  static void useTextsBesideProgram();

  /// The folder "share" beside the running program's folder.
  static std::string sharedFolderOfExecutable();

  std::string bundleIdentifier() const override { return info_.identifier; }
  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override;
  std::string localizedString(const std::string& key, const std::string& value) const override;
  std::string localizedPlural(const std::string& one, const std::string& many, std::uint64_t count) const override;
  std::optional<FileURL> urlForResource(std::string_view name, std::string_view extension) const override;

 private:
  const BundleInfo info_;
  const std::string resourcesFolder_;
};

}  // namespace platform::linux_
