// A call from the bus that can still be answered, from any thread.
//
// Whichever thread its last owner is destroyed on, the message is released on the main thread, as sd-bus requires; at
// the latest when the loop discards its tasks. Dropped without an answer, the caller never gets one.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "Platform/Linux/bus/SessionBus.h"

namespace platform::linux_ {

/// The error for a caller who would wait in vain, since an answer could not be made.
inline void replyThatNoneCanBeGiven(sd_bus_message* call) {
  sd_bus_reply_method_errorf(call, SD_BUS_ERROR_FAILED, "the answer could not be given");
}

using SharedBusMessage = std::shared_ptr<sd_bus_message>;

class PendingCall : public std::enable_shared_from_this<PendingCall> {
 public:
  /// Of all that are pending.
  using Count = std::shared_ptr<std::atomic<unsigned>>;

  /// On the main thread, and to be held by a shared pointer. The loop must outlive the object.
  PendingCall(RunLoop& loop, sd_bus_message* message, Count count)
      : loop_(loop), message_(sd_bus_message_ref(message), MessageUnref()), count_(std::move(count)) {
    ++*count_;
  }
  ~PendingCall() {
    --*count_;
    if (!loop_.isMainThread()) loop_.async([message = std::move(message_)] {});
  }
  PendingCall(const PendingCall&) = delete;
  PendingCall& operator=(const PendingCall&) = delete;

  /// `reply` is called with the message on the main thread, later.
  void answer(std::function<void(sd_bus_message* call)> reply) {
    loop_.async([self = shared_from_this(), reply = std::move(reply)] { reply(self->message_.get()); });
  }

 private:
  RunLoop& loop_;
  SharedBusMessage message_;
  const Count count_;
};

}  // namespace platform::linux_
