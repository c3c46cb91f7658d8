// Writes profiles of browsers, as they are before a cleaning or as it has to leave them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/BrowserFiles.h"
#include "tests/support/ScratchFolder.h"

namespace testing_support {

/// Whose data it is, which decides whether a cleaning removes it.
enum class Owner {
  kPerson,              // stays
  kSite,                // in a store of older versions, which is always cleaned
  kSiteInCurrentStore,  // goes when today's stores are cleaned
  kExtensionInOldStore  // in a store of older versions; stays only when today's stores are cleaned
};

class SampleWriter {
 public:
  enum class Stage { kBefore, kCleaned, kCleanedOfOldStores };

  SampleWriter(const ScratchFolder& home, Stage stage) : home_(home), stage_(stage) {}

  bool has(Owner owner) const {
    switch (stage_) {
      case Stage::kBefore:
        return true;
      case Stage::kCleaned:
        return owner == Owner::kPerson || owner == Owner::kExtensionInOldStore;
      case Stage::kCleanedOfOldStores:
        return owner == Owner::kPerson || owner == Owner::kSiteInCurrentStore;
    }
    return true;
  }

  /// The text if that owner's data exist at this stage, else "".
  std::string textOf(Owner owner, const std::string& text) const { return has(owner) ? text : ""; }

  void file(Owner owner, const std::string& path, const std::string& content) const;
  /// Writes files whose contents name the site if they are a site's.
  void files(Owner owner, const std::string& folder, const std::vector<std::string>& names) const;
  void level(Owner owner, const std::string& folder, const LevelEntries& entries) const;
  void statements(Owner owner, const std::string& database, const std::string& statements) const;
  /// Writes a database whose rows are only in its log.
  void databaseWithLog(Owner owner, const std::string& database) const;

 private:
  const ScratchFolder& home_;
  const Stage stage_;
};

/// Writes a profile of the Chrome family; both paths end with a slash. `caches` may be the profile itself.
void writeChromeProfile(const SampleWriter& writer, const std::string& profile, const std::string& caches,
                        bool hasFlashOfItsOwn);
/// Writes what lies beside the profiles.
void writeChromeData(const SampleWriter& writer, const std::string& dataFolder);

/// Writes a profile of Firefox, without permissions; both paths end with a slash.
void writeFirefoxProfile(const SampleWriter& writer, const std::string& profile, const std::string& caches);

/// Writes the permissions in a profile of Firefox, of which a part stays on a home without a Library.
void writeFirefoxPermissions(const SampleWriter& writer, const std::string& profile);

}  // namespace testing_support
