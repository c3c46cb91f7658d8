// The cleaning of a browser's stores, one by one: a walk over its installations, their profiles, and the tables of its
// family's stores.
//
// A store that is left in whole or in part gets a line in the log, and the others are cleaned; so it is when its
// treatment fails with an exception, which sites may try to bring about. All work is done when run() returns. The
// person is not asked: what is not granted is left.
#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Dispatch.h"
#include "Worker/homes/Layout.h"
#include "Worker/stores/StoreTables.h"

namespace tidewell {

class Cleaning {
 public:
  /// Cleans the stores of these ages. Layout and browser must outlive the object.
  Cleaning(const Layout& layout, const Browser& browser, std::set<StoreAge> ages)
      : layout_(layout), browser_(browser), ages_(std::move(ages)) {}

  void run() const;

 private:
  void cleanInstallation(const Installation& installation) const;
  void cleanAll(std::span<const Store> table, const std::vector<std::string>& folders) const;
  void clean(std::span<const Store> table, const std::string& folder) const;
  /// Runs the action and logs that it has thrown, if it has.
  void fenced(std::string_view what, const platform::Task& action) const;
  void log(std::string_view what, Left left) const;

  const Layout& layout_;
  const Browser& browser_;
  const std::set<StoreAge> ages_;
};

}  // namespace tidewell
