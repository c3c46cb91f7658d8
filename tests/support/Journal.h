// What the platform was asked, in order.
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace testing_support {

class Journal {
 public:
  void add(std::string entry) {
    const std::lock_guard lock(mutex_);
    entries_.push_back(std::move(entry));
  }
  std::vector<std::string> entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }
  /// Those that begin with `prefix`, without it.
  std::vector<std::string> entriesAfter(const std::string& prefix) const {
    std::vector<std::string> rests;
    for (const std::string& entry : entries()) {
      if (entry.starts_with(prefix)) rests.push_back(entry.substr(prefix.size()));
    }
    return rests;
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

}  // namespace testing_support
