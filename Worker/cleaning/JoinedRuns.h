// Runs and requests on a home without a Library: for each browser there is one of either at a time, which those that
// are repeated join. However often a browser quits, or its folders are asked for, what is under way stays small.
//
// A run never waits for the person. It cleans what is granted; the folders that are not are asked for beside it, and
// what is granted then is cleaned by a run of its own.
//
// Main thread. The callbacks are called on background threads.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Dispatch.h"
#include "Worker/browsers/Browser.h"
#include "Worker/cleaning/Cleaning.h"
#include "Worker/cleaning/LaterTurns.h"
#include "Worker/cleaning/Report.h"
#include "Worker/cleaning/Turns.h"
#include "Worker/homes/FolderQuestions.h"

namespace tidewell {

class JoinedRuns : public std::enable_shared_from_this<JoinedRuns> {
 public:
  /// Cleans what is granted of a browser.
  using Clean = std::function<Report(const Browser& browser, IfRunning ifRunning)>;

  /// Called when no further run is to come for what a browser was cleaned for: the second run after a quit, or the only
  /// one, is over. `notifies`: after a quit, and when something has gone of what was allowed later.
  using Ended = std::function<void(const Browser& browser, const Report& report, bool notifies)>;

  /// Called with the report of what was asked for.
  using Done = std::function<void(const Report& report)>;

  static std::shared_ptr<JoinedRuns> create(Clean clean, Ended ended);

  /// A browser, a row of the table, has quit: a run follows now, and a second one, which notifies, in 8 seconds. When
  /// the session ends there is one run, at once. `done` is called when the last of these runs is over.
  void quit(const Browser& browser, Cause cause, IfRunning ifRunning, Done done = nullptr);

  /// A browser that does not run is to be cleaned once. Nobody is asked for folders.
  void catchUp(const Browser& browser);

  /// Obtains the folders of a browser, and then calls `done` on a background thread.
  void request(const Browser& browser, platform::Task done);

  /// Asks for the folders of a browser once more, but for those that are never asked for. What is allowed is cleaned.
  void askAgain(const Browser& browser);

  /// Whether that would ask for any. Any thread.
  bool hasFoldersToAskFor(const Browser& browser) const;

  /// The session ends: second runs that are to come are made at once, and nobody is asked any more.
  void sessionEnds();

  /// Whether no run is under way or waits.
  bool isIdle() const { return runs_->isIdle(); }

  /// Called each time that a run has ended and another follows for the same quit, with what was done so far.
  void setBetweenRunsHandler(std::function<void(const Browser& browser, const Report& report)> handler) {
    betweenRuns_ = std::move(handler);
  }

  /// Called on the main thread each time that a run has ended.
  void setRunEndHandler(platform::Task handler) { runs_->setEndHandler(std::move(handler)); }

  /// Called on the main thread with true before a first run begins, and with false when none is under way any more.
  void setUnderWayHandler(std::function<void(bool)> handler) { runs_->setUnderWayHandler(std::move(handler)); }

 private:
  using Occasion = FolderQuestions::Occasion;

  /// What those who joined want of a browser's next run.
  struct NextRun {
    Occasion quit = 0;  // what asks for the folders that are not granted; 0 for nobody
    bool notifies = false;
    bool isLast = false;  // none is to come for the same quit
    IfRunning ifRunning = IfRunning::kIsSpared;
    Cause cause = Cause::kPermission;
    std::vector<Done> done = {};
  };
  struct NextRequest {
    std::vector<platform::Task> done;
    FolderQuestions::Cause cause;
    std::set<std::string> lacking;  // folders that a run lacked: if one is granted by then, a run follows
  };

  JoinedRuns(Clean clean, Ended ended);

  void join(const Browser& browser, const NextRun& wanted);
  void requestForRun(const Browser& browser, Occasion quit, const std::set<std::string>& lacking);
  void askForTurn(const Browser& browser);
  using Operation = platform::BlockOperation (JoinedRuns::*)(const Browser& browser);
  Turns::Begin beginWith(Operation operation, const Browser& browser);
  platform::BlockOperation beginRun(const Browser& browser);
  platform::BlockOperation beginRequest(const Browser& browser);
  void run(const Browser& browser, const NextRun& wanted);
  Report cleaned(const Browser& browser, const NextRun& wanted);
  bool isFirstOfQuit(const Browser& browser);
  Report joinedWithEarlier(const Browser& browser, Report report, bool isLast);
  void obtain(const Browser& browser, const FolderQuestions::Cause& cause, const std::set<std::string>& lacking);

  const Clean clean_;
  const Ended ended_;
  std::function<void(const Browser&, const Report&)> betweenRuns_;
  const std::shared_ptr<Turns> runs_ = Turns::create();
  const std::shared_ptr<Turns> requests_ = Turns::create();
  const std::shared_ptr<LaterTurns> secondRuns_;
  FolderQuestions questions_;
  std::map<std::string_view, Occasion> lastQuits_;  // by the browser's identifier, as are the next three
  std::map<std::string_view, NextRun> nextRuns_;
  std::map<std::string_view, NextRequest> nextRequests_;
  std::map<std::string_view, std::vector<Done>> waiting_;  // for the end of a quit's last run
  bool sessionEnds_ = false;
  std::mutex mutex_;
  std::map<std::string_view, Report> reports_;  // of runs that another follows; guarded by mutex_
};

}  // namespace tidewell
