// Work that follows some time after what it is asked for by: for each name there is one to come at a time.
//
// Asking again meanwhile neither puts it off nor makes it two: it comes at its time, and one more follows after the
// same delay. So nobody can keep it from coming by asking for ever, and the last one who asks gets the whole delay.
//
// Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "Platform/Dispatch.h"

namespace tidewell {

class LaterTurns : public std::enable_shared_from_this<LaterTurns> {
 public:
  static std::shared_ptr<LaterTurns> create(std::chrono::nanoseconds delay) {
    return std::shared_ptr<LaterTurns>(new LaterTurns(delay));
  }

  /// `work` is called on the main thread, after the delay. It is dropped when another is to come under that name.
  void ask(const std::string& name, platform::Task work);

  /// Whether work is to come under that name.
  bool isToCome(const std::string& name) const { return toCome_.contains(name); }

  /// All that is to come comes now, once each.
  void comeNow();

 private:
  explicit LaterTurns(std::chrono::nanoseconds delay) : delay_(delay) {}

  struct Turn {
    platform::Task work;
    bool isAskedForAgain = false;  // meanwhile
    std::uint64_t number = 0;      // tells it from a later one of the same name
  };

  void come(const std::string& name, std::uint64_t number);

  const std::chrono::nanoseconds delay_;
  std::map<std::string, Turn> toCome_;
  std::uint64_t turns_ = 0;
};

}  // namespace tidewell
