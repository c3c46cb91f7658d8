// Records the calls to the platform, in order, and where the calling code ran.
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
  /// Sets the place of the entries that follow; returns the one before.
  std::string enter(std::string place) {
    const std::lock_guard lock(mutex_);
    return std::exchange(place_, std::move(place));
  }
  std::vector<std::string> entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }
  /// The entries that begin with `prefix`, without it.
  std::vector<std::string> entriesAfter(const std::string& prefix) const {
    std::vector<std::string> rests;
    for (const std::string& entry : entries()) {
      if (entry.starts_with(prefix)) rests.push_back(entry.substr(prefix.size()));
    }
    return rests;
  }
  /// The places of the entries that begin with `prefix`: "main", "operation", "completion", or the label of the queue
  /// whose task made the entry.
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
