// When the process table is looked at after a program file was opened.
//
// A file is opened before the process has become its program (on a machine with too much to do, long before), and a
// wrapper script works for a while before it starts the program that it is for. So a look at once is followed by a
// series of others. Anyone who may read the file can open it, as often as they like, and no process that is looked for
// need come of it: once a few openings in a row have led to none, looks come every 100 ms at most, until one is found
// or it has been calm for as long as a series takes. What was opened last has its whole series all the same.
#pragma once

#include <chrono>
#include <set>
#include <vector>

namespace platform::linux_ {

class LookSchedule {
 public:
  /// Since any fixed moment; never goes back.
  using Time = std::chrono::milliseconds;

  /// A file was opened. Answers the times of the looks that are due because of that and were not due before.
  std::vector<Time> opened(Time now);

  /// The process table may change in the next moments, and nobody else can have brought that about.
  std::vector<Time> changed(Time now);

  /// The look that was due at that time takes place.
  void looked(Time due);

  /// A look has found that an application runs which did not.
  void found() { tries_ = 0; }

 private:
  std::vector<Time> add(Time now, Time slot);

  std::set<Time> due_;
  Time lastLook_{0};
  Time lastOpened_{0};
  unsigned tries_ = 0;  // openings in a row that led to nothing
};

}  // namespace platform::linux_
