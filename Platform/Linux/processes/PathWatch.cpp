#include "Platform/Linux/processes/PathWatch.h"

#include <fnmatch.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

constexpr unsigned kAppearing = IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// Opening a file is cheaper than being told of it.
constexpr unsigned kMostReadings = 50;  // a second, each at once
constexpr std::chrono::milliseconds kRest{20};

bool isFolder(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

void PathWatch::Interests::addAppearing(const std::string& path) {
  std::string folder = deletingLastPathComponent(path);
  std::string name = lastPathComponent(path);
  while (folder.size() > 1 && !isFolder(folder)) {
    name = lastPathComponent(folder);
    folder = deletingLastPathComponent(folder);
  }
  appearing[folder].insert(name);
}

PathWatch::PathWatch(RunLoop& loop, Handler handler)
    : loop_(loop), handler_(std::move(handler)), inotify_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (!inotify_) return;
  const auto readable = [](sd_event_source*, int, std::uint32_t, void* data) {
    static_cast<PathWatch*>(data)->drain();
    return 0;
  };
  sd_event_source* source = nullptr;
  sd_event_add_io(loop.event(), &source, inotify_.get(), EPOLLIN, readable, this);
  source_.reset(source);
}

bool PathWatch::add(const std::string& path, unsigned mask, std::map<int, Watched>& watched,
                    const std::function<void(Watched&)>& fill) {
  // A file that is watched already keeps its number; the masks of several wishes add up.
  const int watch = ::inotify_add_watch(inotify_.get(), path.c_str(), mask | IN_MASK_ADD);
  if (watch >= 0) fill(watched[watch]);
  return watch >= 0 || (inotify_ && errno != ENOSPC && errno != ENOMEM && errno != EACCES);
}

bool PathWatch::replace(const Interests& interests) {
  std::map<int, Watched> watched;
  bool isComplete = true;
  for (const std::string& file : interests.opened) {
    isComplete &= add(file, IN_OPEN, watched, [&](Watched& entry) { entry.opened.insert(file); });
  }
  for (const std::string& file : interests.modified) {
    isComplete &= add(file, IN_MODIFY, watched, [](Watched& entry) { entry.modified = true; });
  }
  for (const std::string& file : interests.unfinished) {
    isComplete &= add(file, IN_ATTRIB | IN_CLOSE_WRITE, watched, [](Watched& entry) { entry.unfinished = true; });
  }
  for (const auto& [folder, names] : interests.appearing) {
    isComplete &= add(folder, kAppearing, watched, [&found = names](Watched& entry) {
      entry.isFolder = true;
      entry.appearing.insert(found.begin(), found.end());
    });
  }
  for (const auto& [watch, entry] : watched_) {
    if (!watched.contains(watch)) ::inotify_rm_watch(inotify_.get(), watch);
  }
  watched_ = std::move(watched);
  return isComplete;
}

/// Leaves the events where they are for a while: there they are kept, and equal ones in a row are one.
void PathWatch::restWhenBusy() {
  const auto now = std::chrono::steady_clock::now();
  if (now - secondBegan_ >= std::chrono::seconds(1)) {
    secondBegan_ = now;
    readings_ = 0;
  }
  if (++readings_ <= kMostReadings) return;
  sd_event_source_set_enabled(source_.get(), SD_EVENT_OFF);
  loop_.after(kRest, [this] { sd_event_source_set_enabled(source_.get(), SD_EVENT_ON); });
}

void PathWatch::drain() {
  restWhenBusy();
  alignas(inotify_event) std::array<char, 16384> buffer;
  ssize_t length = 0;
  while ((length = ::read(inotify_.get(), buffer.data(), buffer.size())) > 0) {
    for (ssize_t offset = 0; offset < length;) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + offset, sizeof event);
      const char* name = buffer.data() + offset + sizeof event;
      take(event.wd, event.mask, event.len > 0 ? name : "");
      offset += static_cast<ssize_t>(sizeof event + event.len);
    }
  }
  const bool hasEvents = !events_.opened.empty() || events_.modified || events_.appeared;
  if (!hasEvents || std::exchange(handlerIsPending_, true)) return;
  loop_.async([this] {
    handlerIsPending_ = false;
    handler_(std::exchange(events_, {}));
  });
}

void PathWatch::take(int watch, unsigned mask, const std::string& name) {
  if ((mask & IN_Q_OVERFLOW) != 0) {
    events_.appeared = true;
    for (const auto& [number, entry] : watched_) events_.opened.insert(entry.opened.begin(), entry.opened.end());
    return;
  }
  const auto found = watched_.find(watch);
  if (found == watched_.end()) return;
  const Watched& entry = found->second;
  if ((mask & IN_OPEN) != 0) events_.opened.insert(entry.opened.begin(), entry.opened.end());
  if ((mask & IN_MODIFY) != 0) events_.modified |= entry.modified;
  if ((mask & (IN_ATTRIB | IN_CLOSE_WRITE)) != 0) events_.appeared |= entry.unfinished;
  if ((mask & (IN_DELETE_SELF | IN_MOVE_SELF)) != 0 && entry.isFolder) events_.appeared = true;
  if ((mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
    events_.appeared |=
        std::any_of(entry.appearing.begin(), entry.appearing.end(),
                    [&name](const std::string& pattern) { return ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
  }
}

}  // namespace platform::linux_
