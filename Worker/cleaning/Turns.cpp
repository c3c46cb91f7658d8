#include "Worker/cleaning/Turns.h"

#include <utility>

#include "Platform/Platform.h"

namespace tidewell {
namespace {

platform::Dispatch& dispatch() {
  return platform::Platform::current().dispatch;
}

/// Performs a task when it goes out of scope, also by an exception.
class AtEnd {
 public:
  explicit AtEnd(const platform::Task& task) : task_(task) {}
  ~AtEnd() { task_(); }
  AtEnd(const AtEnd&) = delete;
  AtEnd& operator=(const AtEnd&) = delete;

 private:
  const platform::Task& task_;
};

}  // namespace

void Turns::ask(const std::string& name, Begin begin) {
  Turn& turn = turns_[name];
  if (turn.next) return;
  turn.next = std::move(begin);
  if (!turn.isUnderWay) beginSoon(name);
}

void Turns::beginSoon(const std::string& name) {
  dispatch().mainQueue().async([self = shared_from_this(), name] { self->begin(name); });
}

void Turns::begin(const std::string& name) {
  Turn& turn = turns_[name];
  turn.isUnderWay = true;
  if (underWay_++ == 0 && underWayHandler_) underWayHandler_(true);
  platform::BlockOperation operation = std::exchange(turn.next, nullptr)();
  const platform::Task end = [self = shared_from_this(), name] {
    dispatch().mainQueue().async([self, name] { self->ended(name); });
  };
  operation.block = [work = std::move(operation.block), end] {
    const AtEnd turnEnds(end);
    work();
  };
  dispatch().makeOperationQueue()->addOperation(std::move(operation));
}

void Turns::ended(const std::string& name) {
  Turn& turn = turns_[name];
  turn.isUnderWay = false;
  if (--underWay_ == 0 && underWayHandler_) underWayHandler_(false);
  if (turn.next) {
    beginSoon(name);
  } else {
    turns_.erase(name);
  }
  if (endHandler_) endHandler_();
}

}  // namespace tidewell
