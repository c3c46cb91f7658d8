// Where the operations of WorkerAppDelegate tell what has become of what they were to remove: the recorder of the run
// that they belong to. Recording changes nothing of what they do.
//
// An operation belongs to the recorder that its thread has when it is made; it may be done later, and elsewhere.
#pragma once

#include <memory>
#include <string>

#include "Worker/sandbox/Outcome.h"

namespace tidewell {

/// Any thread may call.
class OutcomeRecorder {
 public:
  virtual ~OutcomeRecorder() = default;

  /// What became of the item at that path.
  virtual void note(const std::string& path, const Outcome& outcome) = 0;

  /// That nothing could be done in that folder for want of a grant.
  virtual void noteNotAllowed(const std::string& folder) = 0;

  /// Something of the run is to be done later; each time ends with later().
  virtual void willBeLater() = 0;
  virtual void later() = 0;

  /// That of this thread; null where nothing is recorded.
  static const std::shared_ptr<OutcomeRecorder>& current() { return current_; }

  /// Makes a recorder that of this thread as long as the scope lives.
  class Scope {
   public:
    explicit Scope(std::shared_ptr<OutcomeRecorder> recorder) : before_(std::move(current_)) {
      current_ = std::move(recorder);
    }
    ~Scope() { current_ = std::move(before_); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    std::shared_ptr<OutcomeRecorder> before_;
  };

  /// What is to be done later: made when it is planned, by the thread that plans it. A Scope of recorder() is for what
  /// plans more.
  class Later {
   public:
    Later() : recorder_(current_) {
      if (recorder_) recorder_->willBeLater();
    }
    const std::shared_ptr<OutcomeRecorder>& recorder() const { return recorder_; }

    /// The doing, however it ends.
    class Doing {
     public:
      explicit Doing(const Later& later) : recorder_(later.recorder_) {}
      ~Doing() {
        if (recorder_) recorder_->later();
      }
      Doing(const Doing&) = delete;
      Doing& operator=(const Doing&) = delete;

     private:
      const std::shared_ptr<OutcomeRecorder> recorder_;
    };

   private:
    std::shared_ptr<OutcomeRecorder> recorder_;
  };

 private:
  static inline thread_local std::shared_ptr<OutcomeRecorder> current_;
};

}  // namespace tidewell
