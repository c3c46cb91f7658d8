// The cleanings that are owed: of browsers that were seen to run, until they have been cleaned to the end.
//
// The notes lie in the worker's own settings, on the disk before anything else happens. So they outlive a power cut, a
// log-out, a crash and an update of the worker: the next worker does what is owed. A note counts on the machine where
// the browser ran, since homes can be shared, and while the browser is enabled. Any thread.
#pragma once

#include <optional>
#include <vector>

#include "Platform/Value.h"
#include "Worker/browsers/Browser.h"

namespace tidewell {

class OwedCleanings {
 public:
  OwedCleanings() = delete;

  /// The browser runs from now on, or has run until now: notes it, also when it was noted before.
  static void note(const Browser& browser);

  /// The same for a browser that may have been noted when it began to run.
  static void noteUnlessNoted(const Browser& browser);

  /// The browser was cleaned to the end by a run that began then. Later notes stay.
  static void settle(const Browser& browser, platform::Date runBegan);

  /// The runs for a quit begin, and have come to their end, whatever they could do. Of earlier ones that did not come
  /// to their end (the worker was killed, or the power failed) the former returns when these had begun.
  static std::optional<platform::Date> runBegins(const Browser& browser);
  static void runEnded(const Browser& browser);

  /// The browsers with a note of this machine.
  static std::vector<const Browser*> owed();

  /// The browser is not to be cleaned any more.
  static void forget(const Browser& browser);
};

/// The key of a note in the worker's own settings: its value is the moment as a date.
std::string keyOfOwedCleaning(const Browser& browser, const std::string& machine);

}  // namespace tidewell
