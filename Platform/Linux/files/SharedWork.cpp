#include "Platform/Linux/files/SharedWork.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace platform::linux_ {
namespace {

/// Parts that a thread does within one another, while it waits. Each may hold some descriptors.
constexpr std::size_t kMostNested = 3;

}  // namespace

Sharing Sharing::ofThisMachine() {
  static const bool hasTwoProcessors = std::thread::hardware_concurrency() > 1;
  return {.isAllowed = hasTwoProcessors};
}

SharedWork::~SharedWork() {
  if (!helper_.joinable()) return;
  {
    const Lock lock(mutex_);
    isEnding_ = true;
  }
  changed_.notify_all();
  helper_.join();
}

bool SharedWork::isWanted() {
  if (mayStart_ && found_.load(std::memory_order_relaxed) >= worthwhile_) start();
  return wanted_.load(std::memory_order_relaxed) > 0;
}

/// Only the caller's thread comes here: there is no other yet.
void SharedWork::start() {
  mayStart_ = false;
  ++wanted_;
  try {
    helper_ = std::thread([this] { help(); });
  } catch (const std::system_error&) {
    --wanted_;  // the system gives no thread: the caller's does all
  }
}

void SharedWork::help() {
  Lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return isEnding_ || !given_.empty(); });
    if (!doOne(lock, kHelper, nullptr)) return;
  }
}

void SharedWork::give(Parts& parts, Part part) {
  {
    const Lock lock(mutex_);
    ++parts.undone_;
    given_.push_back({&parts, std::move(part)});
    --wanted_;
  }
  changed_.notify_all();
}

/// Does a part that nobody has begun, of this holder alone if one is given. False when there is none.
bool SharedWork::doOne(Lock& lock, Worker worker, const Parts* onlyOf) {
  const auto found = std::find_if(given_.begin(), given_.end(),
                                  [onlyOf](const Given& given) { return !onlyOf || given.holder == onlyOf; });
  if (found == given_.end()) return false;
  const Given given = std::move(*found);
  given_.erase(found);
  ++nested_[worker];
  lock.unlock();
  given.part(worker);
  lock.lock();
  --nested_[worker];
  --given.holder->undone_;
  ++wanted_;
  changed_.notify_all();
  return true;
}

void SharedWork::waitFor(Parts& parts, Worker worker) {
  Lock lock(mutex_);
  if (parts.undone_ == 0) return;
  // Its own parts it always takes back: then none waits for a thread that waits for it.
  const bool takesAny = nested_[worker] < kMostNested;
  if (takesAny) ++wanted_;
  while (parts.undone_ > 0) {
    if (!doOne(lock, worker, takesAny ? nullptr : &parts)) changed_.wait(lock);
  }
  if (takesAny) --wanted_;
}

}  // namespace platform::linux_
