// How much a preview lists of each kind.
//
//   Preview preview = Preview::of(browser, settings);   // each line has its group
//   for (const GroupSum& sum : sumsOf(preview)) …       // in the order in which people read them
#pragma once

#include <cstdint>
#include <vector>

#include "MainApplication/preview/Preview.h"

namespace tidewell {

struct GroupSum {
  PreviewGroup group = PreviewGroup::kOther;
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;  // of the files, and by how much others shrink
  std::uint64_t rows = 0;   // of databases
  bool operator==(const GroupSum&) const = default;
};

/// What would go, of each group of which anything would.
std::vector<GroupSum> sumsOf(const Preview& preview);

}  // namespace tidewell
