// A large piece of work that two threads share: the one that has much left gives a part of it to the one that has
// nothing.
//
// The second thread begins when there is enough for two, and ends with the object: small pieces are done by the
// caller's thread alone, call by call in the same order. Who waits for a part that it has given away does others
// meanwhile. All operations may be called by both threads, and by no third one.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace platform::linux_ {

/// When work is worth a second thread.
struct Sharing {
  bool isAllowed = false;
  std::size_t itemsToRemove = 1000;   // from so many on; fewer are gone before a thread has begun
  std::size_t itemsToOverwrite = 64;  // likewise

  /// Allowed where there are two processors.
  static Sharing ofThisMachine();
};

class SharedWork {
 public:
  /// Which of the two threads does a part.
  enum Worker : std::size_t { kCaller, kHelper };
  static constexpr std::size_t kWorkers = 2;

  using Part = std::function<void(Worker worker)>;

  /// The parts that one holder has given away. It has to wait for them before it ends.
  class Parts {
   public:
    bool areDone() const { return undone_ == 0; }  // for their holder, who has waited

   private:
    friend class SharedWork;
    std::size_t undone_ = 0;
  };

  /// A second thread is used from `worthwhile` items on; never where `isAllowed` is false.
  SharedWork(bool isAllowed, std::size_t worthwhile) : mayStart_(isAllowed), worthwhile_(worthwhile) {}
  ~SharedWork();
  SharedWork(const SharedWork&) = delete;
  SharedWork& operator=(const SharedWork&) = delete;

  /// Counts items that are to be done.
  void find(std::size_t items) { found_.fetch_add(items, std::memory_order_relaxed); }

  /// Whether a part would be begun at once.
  bool isWanted();

  /// Gives a part away. What it uses has to live until the holder of `parts` has waited.
  void give(Parts& parts, Part part);

  /// Returns when all of the parts have been done.
  void waitFor(Parts& parts, Worker worker);

 private:
  struct Given {
    Parts* holder = nullptr;
    Part part;
  };
  using Lock = std::unique_lock<std::mutex>;

  void start();
  void help();
  bool doOne(Lock& lock, Worker worker, const Parts* onlyOf);

  bool mayStart_;
  const std::size_t worthwhile_;
  std::atomic<std::size_t> found_ = 0;
  std::atomic<int> wanted_ = 0;  // threads that have nothing to do, less the parts that wait for one
  std::size_t nested_[kWorkers] = {};
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Given> given_;  // not begun yet
  bool isEnding_ = false;
  std::thread helper_;
};

}  // namespace platform::linux_
