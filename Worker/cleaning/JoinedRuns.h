// Runs and requests on a home without a Library: for each browser there is one of either at a time, which those that
// are repeated join. However often a browser quits, or its folders are asked for, what is under way stays small.
//
// A run never waits for the person. It cleans what is granted; the folders that are not are asked for beside it, and
// what is granted then is cleaned by a run of its own, without a notification.
//
// Main thread. The callbacks are called on background threads.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Dispatch.h"
#include "Worker/browsers/Browser.h"
#include "Worker/cleaning/Cleaning.h"
#include "Worker/cleaning/LaterTurns.h"
#include "Worker/cleaning/Turns.h"
#include "Worker/homes/FolderQuestions.h"

namespace tidewell {

class JoinedRuns : public std::enable_shared_from_this<JoinedRuns> {
 public:
  using Clean = std::function<void(const Browser& browser, IfRunning ifRunning)>;
  using OnBrowser = std::function<void(const Browser& browser)>;

  /// `clean` cleans what is granted of a browser; `notify` tells the person that a second run is over.
  static std::shared_ptr<JoinedRuns> create(Clean clean, OnBrowser notify);

  /// A browser, a row of the table, has quit: a run follows now, and a second one, which notifies, in 8 seconds.
  void quit(const Browser& browser, IfRunning ifRunning);

  /// Obtains the folders of a browser, and then calls `done` on a background thread.
  void request(const Browser& browser, platform::Task done);

 private:
  using Occasion = FolderQuestions::Occasion;

  /// What those who joined want of a browser's next run.
  struct NextRun {
    Occasion quit = 0;  // what asks for the folders that are not granted; 0 for nobody
    bool notifies = false;
    IfRunning ifRunning = IfRunning::kIsSpared;
  };
  struct NextRequest {
    std::vector<platform::Task> done;
    FolderQuestions::Cause cause;
    std::set<std::string> lacking;  // folders that a run lacked: if one is granted by then, a run follows
  };

  JoinedRuns(Clean clean, OnBrowser notify);

  void join(const Browser& browser, const NextRun& wanted);
  void requestForRun(const Browser& browser, Occasion quit, const std::set<std::string>& lacking);
  void askForTurn(const Browser& browser);
  using Operation = platform::BlockOperation (JoinedRuns::*)(const Browser& browser);
  Turns::Begin beginWith(Operation operation, const Browser& browser);
  platform::BlockOperation beginRun(const Browser& browser);
  platform::BlockOperation beginRequest(const Browser& browser);
  void run(const Browser& browser, const NextRun& wanted);
  void obtain(const Browser& browser, const FolderQuestions::Cause& cause, const std::set<std::string>& lacking);

  const Clean clean_;
  const OnBrowser notify_;
  const std::shared_ptr<Turns> runs_ = Turns::create();
  const std::shared_ptr<Turns> requests_ = Turns::create();
  const std::shared_ptr<LaterTurns> secondRuns_;
  FolderQuestions questions_;
  std::map<std::string_view, Occasion> lastQuits_;  // by the browser's identifier, as are the next two
  std::map<std::string_view, NextRun> nextRuns_;
  std::map<std::string_view, NextRequest> nextRequests_;
};

}  // namespace tidewell
