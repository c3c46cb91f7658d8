// What a run of a browser would remove now.
//
// The worker's own cleaners run, on a platform that records removals and hands out copies of databases. No file of the
// user is changed, and nobody is asked for anything.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "MainApplication/preview/PreviewGroups.h"
#include "Platform/UserDefaults.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {

struct PreviewedItem {
  std::string path;         // a file, or a folder with all that is in it
  std::uint64_t files = 0;  // how many that are
  std::uint64_t bytes = 0;
  PreviewGroup group = PreviewGroup::kOther;
};

struct PreviewedRows {
  std::string database;
  std::string table;
  std::uint64_t rows = 0;
  PreviewGroup group = PreviewGroup::kOther;
};

/// A file, or a folder with a database, that is rewritten because a part of it stays.
struct PreviewedRewriting {
  std::string path;
  std::uint64_t bytes = 0;  // by how many it would shrink
  PreviewGroup group = PreviewGroup::kOther;
};

struct Preview {
  std::vector<PreviewedItem> items = {};  // those that exist, in the order of the run
  std::vector<PreviewedRows> rows = {};
  std::vector<PreviewedRewriting> rewritings = {};

  /// What stays because the person keeps its site: what else would be among the above.
  struct Kept {
    std::vector<PreviewedItem> items = {};
    std::vector<PreviewedRows> rows = {};
    std::vector<PreviewedRewriting> rewritings = {};  // bytes that stay
    bool listIsUnknown = false;                       // so that all stays that may be a kept site's
  };
  Kept kept = {};

  /// Installs a platform of its own while it works. The settings are only read.
  static Preview of(const Browser& browser, platform::UserDefaultsDomains& settings);
};

}  // namespace tidewell
