// What the platform was asked, in order, and where the asking code ran.
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

class Journal {
 public:
  void add(std::string entry) {
    const std::lock_guard lock(mutex_);
    entries_.push_back(std::move(entry));
    places_.push_back(place_);
  }
  /// What is added from now on happens there; answers where it happened before.
  std::string enter(std::string place) {
    const std::lock_guard lock(mutex_);
    return std::exchange(place_, std::move(place));
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
  /// Where those happened that begin with `prefix`: "main", "operation", "completion", or the label of the queue whose
  /// task it was.
  std::vector<std::string> placesOf(const std::string& prefix) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> places;
    for (std::size_t index = 0; index < entries_.size(); ++index) {
      if (entries_[index].starts_with(prefix)) places.push_back(places_[index]);
    }
    return places;
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
    places_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
  std::vector<std::string> places_;  // of the entries
  std::string place_ = "main";
};

}  // namespace testing_support
