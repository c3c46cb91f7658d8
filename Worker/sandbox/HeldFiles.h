// The files that other programs held when a run came to them. They are for the run alone, and never written down: their
// paths may hold names of sites.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace tidewell {

/// As long as it lives, it collects what GrantedFiles finds in use on this thread.
class HeldFiles {
 public:
  HeldFiles() : before_(std::exchange(current_, this)) {}
  ~HeldFiles() { current_ = before_; }
  HeldFiles(const HeldFiles&) = delete;
  HeldFiles& operator=(const HeldFiles&) = delete;

  static void note(const std::string& path) {
    if (current_ != nullptr && current_->paths_.size() < kMost) current_->paths_.push_back(path);
  }

  const std::vector<std::string>& paths() const { return paths_; }

 private:
  static constexpr std::size_t kMost = 50;  // one of those who hold them is waited for

  static inline thread_local HeldFiles* current_ = nullptr;

  HeldFiles* const before_;
  std::vector<std::string> paths_;
};

}  // namespace tidewell
