// Writes profiles of browsers, as they are or as a cleaning is to leave them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/BrowserFiles.h"
#include "tests/support/ScratchFolder.h"

namespace testing_support {

/// Whose something is, and with it what becomes of it.
enum class Owner {
  kPerson,              // stays
  kSite,                // in a store that older versions have left, which is cleaned always
  kSiteInCurrentStore,  // goes when today's stores are cleaned
  kExtensionInOldStore  // went with an older version's store, which is cleaned with more care now
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

  /// The text, where its owner's things are there.
  std::string textOf(Owner owner, const std::string& text) const { return has(owner) ? text : ""; }

  void file(Owner owner, const std::string& path, const std::string& content) const;
  /// With contents that name the site when they are a site's.
  void files(Owner owner, const std::string& folder, const std::vector<std::string>& names) const;
  void level(Owner owner, const std::string& folder, const LevelEntries& entries) const;
  void statements(Owner owner, const std::string& database, const std::string& statements) const;
  /// A database with rows that lie in its log alone.
  void databaseWithLog(Owner owner, const std::string& database) const;

 private:
  const ScratchFolder& home_;
  const Stage stage_;
};

/// A profile of a browser of the Chrome family; both with a slash at their end. `caches` may be the profile.
void writeChromeProfile(const SampleWriter& writer, const std::string& profile, const std::string& caches,
                        bool hasFlashOfItsOwn);
/// What lies beside the profiles.
void writeChromeData(const SampleWriter& writer, const std::string& dataFolder);

/// A profile of Firefox, likewise.
void writeFirefoxProfile(const SampleWriter& writer, const std::string& profile, const std::string& caches);

}  // namespace testing_support
