// What a run of a browser would remove now.
//
// The very cleaners run, on a platform whose removals are written down and whose databases are copies. Nothing is
// touched, and nobody is asked for anything.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Platform/UserDefaults.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {

struct PreviewedItem {
  std::string path;         // a file, or a folder with all that is in it
  std::uint64_t files = 0;  // how many that are
  std::uint64_t bytes = 0;
};

struct PreviewedRows {
  std::string database;
  std::string table;
  std::uint64_t rows = 0;
};

/// A file, or a database in a folder, of which a part stays.
struct PreviewedRewriting {
  std::string path;
  std::uint64_t bytes = 0;  // how many fewer it would have
};

struct Preview {
  std::vector<PreviewedItem> items;  // those that exist, in the order of the run
  std::vector<PreviewedRows> rows;
  std::vector<PreviewedRewriting> rewritings;

  /// Installs a platform of its own while it works. The settings are only read.
  static Preview of(const Browser& browser, platform::UserDefaultsDomains& settings);
};

}  // namespace tidewell
