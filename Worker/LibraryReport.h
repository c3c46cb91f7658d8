// The report of a quit on a home with a Library: of what the operations have told, and of the walk over today's stores.
//
// The operations go their own ways: much of a run is done after it has returned, and its runs may overlap. The report
// is added to the history when all of both runs has been done. Any thread.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Worker/cleaning/Report.h"
#include "Worker/sandbox/OutcomeRecorder.h"

namespace tidewell {

class LibraryReport : public std::enable_shared_from_this<LibraryReport> {
 public:
  class Run;

  /// Called when all of a run has been done, with what was done so far, and whether it was the last.
  using RunEnded = std::function<void(const Report& report, bool isLast)>;

  static std::shared_ptr<LibraryReport> create(const std::string& browser, Cause cause, RunEnded runEnded = nullptr);

  /// The recorder of the next run, of which something is under way until done() is called.
  std::shared_ptr<Run> beginRun();

 private:
  static constexpr std::size_t kRuns = 2;

  LibraryReport(std::string browser, Cause cause, RunEnded runEnded)
      : browser_(std::move(browser)), cause_(cause), runEnded_(std::move(runEnded)) {}
  void ended(std::size_t number, Report report);

  const std::string browser_;
  const Cause cause_;
  const RunEnded runEnded_;
  std::mutex mutex_;  // guards the rest
  std::size_t begun_ = 0;
  std::vector<Report> ended_ = std::vector<Report>(kRuns);
  std::size_t endedCount_ = 0;
};

class LibraryReport::Run : public OutcomeRecorder {
 public:
  Run(std::shared_ptr<LibraryReport> whole, std::size_t number);

  void note(const std::string& path, const Outcome& outcome) override;
  void noteNotAllowed(const std::string& folder) override;
  void willBeLater() override;
  void later() override;

  /// What the walk over today's stores has done.
  void note(const Report& walk);

  /// All that the run does at once has been done.
  void done() { later(); }

 private:
  const std::shared_ptr<LibraryReport> whole_;
  const std::size_t number_;
  std::mutex mutex_;  // guards the rest
  Report report_;
  std::size_t underWay_ = 1;
};

/// The store that a path of the operations belongs to: never with a name that a site has chosen.
StoreReport storeOfOperations(const std::string& path);

}  // namespace tidewell
