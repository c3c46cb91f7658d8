// The cleaning of a browser's stores, one by one: a walk over its installations, their profiles, and the tables of its
// family's stores.
//
// A store that is left in whole or in part gets a line in the log and in the report, and the others are cleaned; so it
// is when its treatment fails with an exception, which sites may try to bring about. All work is done when run()
// returns. The person is not asked: what is not granted is left. A browser that runs again is spared, where the layout
// says so: before each store it is asked whether it does, and then the rest is left.
#pragma once

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Dispatch.h"
#include "Worker/cleaning/Report.h"
#include "Worker/homes/Layout.h"
#include "Worker/stores/StoreTables.h"

namespace tidewell {

/// What becomes of a browser that runs, where the layout spares those that do.
enum class IfRunning { kIsSpared, kIsCleaned };

class Cleaning {
 public:
  /// Cleans the stores of these ages, but for what is kept. Layout and browser must outlive the object.
  Cleaning(const Layout& layout, const Browser& browser, std::set<StoreAge> ages, const Kept& kept, IfRunning ifRunning)
      : layout_(layout), browser_(browser), ages_(std::move(ages)), kept_(kept), ifRunning_(ifRunning) {}

  /// Whether the browser runs at this moment, and is to be left alone.
  bool isSpared() const;

  /// The report has one run, and Cause::kQuit. The work is confined to the folders of the browser.
  Report run();

 private:
  std::vector<std::string> foldersToChange() const;
  void walk();
  void cleanInstallation(const Installation& installation);
  void cleanAll(std::span<const Store> table, const std::vector<std::string>& folders);
  void clean(std::span<const Store> table, const std::string& folder);
  void clean(const Store& store, const std::string& folder);
  void note(const StoreReport& store, std::string_view name);
  void noteNotAllowed(const std::string& folder);
  void log(std::string_view what, const Outcome& outcome) const;

  const Layout& layout_;
  const Browser& browser_;
  const std::set<StoreAge> ages_;
  const Kept kept_;
  const IfRunning ifRunning_;
  std::vector<Installation> installations_;
  std::vector<std::string> pluginFolders_;
  Report report_;
};

}  // namespace tidewell
