// Runs test code at the moments when the program begins to watch a file.
#pragma once

#include <functional>
#include <string>

namespace testing_support {

/// While it lives, its handler is called before this program begins to watch a file or folder (inotify_add_watch(2)).
/// One object at a time.
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
