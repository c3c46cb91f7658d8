#include "Platform/Linux/processes/LookSchedule.h"

#include <algorithm>
#include <array>

namespace platform::linux_ {
namespace {

using std::chrono::milliseconds;

constexpr std::array kDelays = {milliseconds(0),   milliseconds(2),    milliseconds(10),  milliseconds(30),
                                milliseconds(60),  milliseconds(100),  milliseconds(200), milliseconds(400),
                                milliseconds(800), milliseconds(1500), milliseconds(3000)};
constexpr milliseconds kSlot{2};  // looks in one slot of time are one
constexpr milliseconds kSparseSlot{100};
constexpr unsigned kMostTries = 8;

}  // namespace

std::vector<LookSchedule::Time> LookSchedule::opened(Time now) {
  if (now - lastOpened_ >= kDelays.back()) tries_ = 0;
  lastOpened_ = now;
  if (tries_ >= kMostTries) return add(now, kSparseSlot);
  ++tries_;
  return add(now, kSlot);
}

std::vector<LookSchedule::Time> LookSchedule::changed(Time now) {
  return add(now, kSlot);
}

void LookSchedule::looked(Time due) {
  due_.erase(due);
  lastLook_ = std::max(lastLook_, due);
}

std::vector<LookSchedule::Time> LookSchedule::add(Time now, Time slot) {
  std::vector<Time> added;
  for (const milliseconds delay : kDelays) {
    const bool isAtOnce = delay == milliseconds(0) && slot == kSlot;
    const Time due = isAtOnce ? now : (now + delay + slot - Time(1)) / slot * slot;
    if (slot == kSparseSlot && due <= lastLook_) continue;  // it has just been
    if (due_.insert(due).second) added.push_back(due);
  }
  return added;
}

}  // namespace platform::linux_
