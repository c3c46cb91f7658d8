// The kernel's announcements of programs that start (the process events connector).
//
// A last resort: it wakes the process at every program start of the whole system. It is for programs of which no file
// is known that could be watched. Main thread.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Linux/threads/EventSource.h"
#include "Platform/Linux/threads/RunLoop.h"

namespace platform::linux_ {

class ProcessConnector {
 public:
  using Handler = std::function<void(pid_t pid)>;

  /// Listens. The handler is called, as a task of the loop, for each process that has started a program, and
  /// with 0 when some were lost. Null where the
  /// kernel does not announce to this process: older kernels only do to root, and none does into a container, which
  /// shows when a process of our own is started as a test. The loop must outlive the object.
  static std::unique_ptr<ProcessConnector> open(RunLoop& loop, Handler handler);

 private:
  ProcessConnector(RunLoop& loop, Handler handler) : loop_(loop), handler_(std::move(handler)) {}

  bool subscribe();
  bool announcesOwnChild() const;
  bool attach();
  void drain();
  /// The process whose start the next message tells; 0 when messages were lost, -1 when there is none.
  pid_t nextStarted() const;

  RunLoop& loop_;
  const Handler handler_;
  FileDescriptor socket_;
  EventSource source_;
};

}  // namespace platform::linux_
