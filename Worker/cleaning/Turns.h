// Work on browsers that is asked for again and again: for each name there is one at a time.
//
// Asking for work that waits already joins it: that one serves for both. While one is under way, one more follows,
// however often it is asked for. So what is under way and what waits is bounded by the number of names, whoever asks.
//
// Main thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "Platform/Dispatch.h"

namespace tidewell {

class Turns : public std::enable_shared_from_this<Turns> {
 public:
  /// Called on the main thread when the work begins: what is asked for from then on needs another turn. Returns the
  /// work itself, which runs in the background; an exception in it ends the turn as well.
  using Begin = std::function<platform::BlockOperation()>;

  static std::shared_ptr<Turns> create() { return std::shared_ptr<Turns>(new Turns()); }

  /// Asks for a turn under that name. `begin` is dropped when another waits under the name.
  void ask(const std::string& name, Begin begin);

  /// Whether nothing is under way, and nothing waits.
  bool isIdle() const { return turns_.empty(); }

  /// Called on the main thread each time that a turn has ended.
  void setEndHandler(platform::Task handler) { endHandler_ = std::move(handler); }

  /// Called on the main thread with true before the first turn is under way, and with false when none is any more.
  void setUnderWayHandler(std::function<void(bool isUnderWay)> handler) { underWayHandler_ = std::move(handler); }

 private:
  struct Turn {
    bool isUnderWay = false;
    Begin next;
  };

  Turns() = default;

  void beginSoon(const std::string& name);
  void begin(const std::string& name);
  void ended(const std::string& name);

  std::map<std::string, Turn> turns_;  // those under way or waiting
  unsigned underWay_ = 0;
  platform::Task endHandler_;
  std::function<void(bool)> underWayHandler_;
};

}  // namespace tidewell
