// Tells when files are opened or written to, and when names appear in folders (inotify).
//
// Nothing wakes the process but these very events. Main thread.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "Platform/Linux/host/FileDescriptor.h"
#include "Platform/Linux/threads/EventSource.h"
#include "Platform/Linux/threads/RunLoop.h"

namespace platform::linux_ {

class PathWatch {
 public:
  struct Interests {
    std::set<std::string> opened;      // files
    std::set<std::string> modified;    // files
    std::set<std::string> unfinished;  // files that are there, and of interest once they are written or may be run
    /// Folders, with the names (patterns of fnmatch(3)) whose appearance is of interest.
    std::map<std::string, std::set<std::string>> appearing;

    /// Adds the wish to hear of it when something appears at `path`, which need not exist: the nearest folder above it
    /// that does exist is watched for the next name on the way.
    void addAppearing(const std::string& path);

    bool operator==(const Interests&) const = default;
  };

  /// What happened since it was told last.
  struct Events {
    std::set<std::string> opened;
    bool modified = false;
    bool appeared = false;  // or was finished; also when a watched folder went away, or events were lost
  };
  using Handler = std::function<void(const Events& events)>;

  /// The handler runs as a task of the loop, which must outlive the object. Whoever brings about more events than usual
  /// makes it run every 20 ms at most. Without inotify (the person's limit is used up) nothing is ever told.
  PathWatch(RunLoop& loop, Handler handler);

  /// Watches these and nothing else. What does not exist is left out. False when the person's limits leave something
  /// else out too. What happens from its return on is told; what happened before it may not be.
  bool replace(const Interests& interests);

 private:
  struct Watched {
    std::set<std::string> opened;
    bool modified = false;
    bool unfinished = false;
    std::set<std::string> appearing;
    bool isFolder = false;
  };

  bool add(const std::string& path, unsigned mask, std::map<int, Watched>& watched,
           const std::function<void(Watched&)>& fill);
  void drain();
  void restWhenBusy();
  void take(int watch, unsigned mask, const std::string& name);

  RunLoop& loop_;
  const Handler handler_;
  FileDescriptor inotify_;
  EventSource source_;
  std::map<int, Watched> watched_;  // by inotify's number; one file may be watched under several names
  Events events_;
  bool handlerIsPending_ = false;
  std::chrono::steady_clock::time_point secondBegan_{};
  unsigned readings_ = 0;  // since then
};

}  // namespace platform::linux_
