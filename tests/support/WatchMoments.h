// What happens in the moments in which a program begins to watch a file.
#pragma once

#include <functional>
#include <string>

namespace testing_support {

/// Called before each file or folder that this program begins to watch (inotify_add_watch(2)), as long as the object
/// lives. One at a time.
class BeforeWatching {
 public:
  using Handler = std::function<void(const std::string& path)>;

  explicit BeforeWatching(Handler handler);
  ~BeforeWatching();
  BeforeWatching(const BeforeWatching&) = delete;
  BeforeWatching& operator=(const BeforeWatching&) = delete;
};

/// Whether this process watches that very file now.
bool isWatched(const std::string& path);

}  // namespace testing_support
