// Asks the person for the folders of browsers, on a home without a Library, and no more often than the answers leave
// open.
//
// A refusal holds for all that had led to questions by then: for the quit with both of its runs, and for what waited
// behind the panel. "Never" holds until the folder is asked for by hand and allowed. Whether a question is still to be
// asked is looked at when its turn has come, which may be an hour later.
//
// Any thread. A panel runs on the main thread while the caller waits.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Worker/homes/Layout.h"

namespace tidewell {

class FolderQuestions {
 public:
  /// Numbers what leads to questions, a quit or a request by hand, in the order in which it came.
  using Occasion = std::uint64_t;

  struct Cause {
    Occasion occasion = 0;
    bool isByHand = false;  // then the folders are asked for that never are otherwise, and of browsers not enabled
  };

  Occasion newOccasion();

  /// Whether the person has said "Never" to the folder.
  static bool isNeverAsked(const std::string& folder);

  /// The folders that the browser's cleaning needs, that are not granted, and that may be asked for.
  std::vector<std::string> missing(const Layout& layout, const Browser& browser, const Cause& cause) const;

  /// Asks once for each of these. Returns when the person has answered.
  void ask(const Layout& layout, const Browser& browser, const Cause& cause);

  /// No further question is shown. One that is shown stays.
  void stop();

 private:
  bool isToBeAskedFor(const std::string& folder, const Browser& browser, const Cause& cause) const;
  void askFor(const std::string& folder);

  mutable std::mutex mutex_;  // guards the rest
  bool isStopped_ = false;
  Occasion last_ = 0;
  std::map<std::string, Occasion> refusals_;  // by the folder without links: the last occasion that it holds for
};

}  // namespace tidewell
