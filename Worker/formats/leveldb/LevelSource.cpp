#include "Worker/formats/leveldb/LevelSource.h"

#include <algorithm>
#include <optional>

#include "Platform/Path.h"
#include "Worker/formats/leveldb/LevelTable.h"

namespace tidewell {
namespace {

constexpr std::size_t kWindow = std::size_t{64} << 10;     // bytes
constexpr std::size_t kSmallestWindow = 4096;              // bytes
constexpr std::size_t kAllWindows = std::size_t{8} << 20;  // bytes
constexpr std::uint64_t kLongestName = 64;                 // of a manifest, in bytes

}  // namespace

/// Merges runs in the order of their keys. A run is begun when its first key is due, so that only runs which overlap
/// the current position hold memory.
class LevelSource::Merge {
 public:
  Merge(std::vector<std::unique_ptr<LevelRun>> runs, std::size_t memory, bool isTolerant, const Selection& isWanted)
      : memory_(memory), isTolerant_(isTolerant), isWanted_(isWanted) {
    for (auto& run : runs) {
      memory_ += run->memory();
      waiting_.push_back({std::move(run)});
    }
    std::make_heap(waiting_.begin(), waiting_.end(), isLater);
  }

  /// Moves to the next entry. run() is then at that entry, or null at the end.
  LevelCondition next() {
    while (true) {
      if (const LevelCondition condition = advance(); condition != LevelCondition::kSound) return condition;
      if (current_.run) waitAgain();
      if (waiting_.empty()) return LevelCondition::kSound;
      std::pop_heap(waiting_.begin(), waiting_.end(), isLater);
      current_ = std::move(waiting_.back());
      waiting_.pop_back();
      if (current_.isBegun) return LevelCondition::kSound;
    }
  }

  const LevelRun* run() const { return current_.run.get(); }
  bool hasLoss() const { return hasLoss_; }
  bool hasUnwanted() const { return hasUnwanted_; }

 private:
  struct Waiting {
    std::unique_ptr<LevelRun> run;
    bool isBegun = false;
  };

  static bool isLater(const Waiting& one, const Waiting& other) {
    return compareLevelKeys(one.run->key(), other.run->key()) > 0;
  }

  LevelCondition advance() {
    if (!current_.run) return LevelCondition::kSound;
    current_.isBegun = true;
    while (true) {
      memory_ -= current_.run->memory();
      const LevelCondition condition = current_.run->next();
      memory_ += current_.run->memory();
      if (memory_ > kLevelMaximalMemory) return LevelCondition::kTooLarge;
      if (condition == LevelCondition::kDamaged && isTolerant_) {
        hasLoss_ = true;
      } else if (condition != LevelCondition::kSound || !isUnwanted(*current_.run)) {
        return condition;
      } else {
        hasUnwanted_ = true;
      }
    }
  }

  /// Of entries with long keys only.
  bool isUnwanted(const LevelRun& run) const {
    if (run.atEnd() || run.key().size() <= kLongestOrderedKey) return false;
    const auto entry = LevelKey::from(run.key());
    return entry && !isWanted_(entry->key, run.value());
  }

  void waitAgain() {
    if (current_.run->atEnd()) {
      memory_ -= current_.run->memory();
      current_ = {};
      return;
    }
    waiting_.push_back(std::move(current_));
    current_ = {};
    std::push_heap(waiting_.begin(), waiting_.end(), isLater);
  }

  std::vector<Waiting> waiting_;  // a heap
  Waiting current_;
  std::size_t memory_;  // in bytes
  const bool isTolerant_;
  const Selection& isWanted_;
  bool hasLoss_ = false;
  bool hasUnwanted_ = false;
};

const LevelFile* LevelSource::currentManifest(LevelCondition& condition) const {
  condition = LevelCondition::kDamaged;
  if (!folder_.current || folder_.current->size > kLongestName) return nullptr;
  const auto line = folder_.current->read(0, kLongestName);
  if (!line) {
    condition = LevelCondition::kUnreadable;
    return nullptr;
  }
  for (const auto& [number, file] : folder_.manifests) {
    if (*line != platform::lastPathComponent(file.path) + "\n") continue;
    condition = LevelCondition::kSound;
    return &file;
  }
  return nullptr;
}

LevelCondition LevelSource::open() {
  LevelCondition condition{};
  const LevelFile* file = currentManifest(condition);
  if (file == nullptr) return condition;
  LevelManifest manifest;
  if (condition = manifest.read(*file); condition != LevelCondition::kSound) return condition;
  for (const auto& [number, table] : manifest.tables) {
    const auto found = folder_.tables.find(number);
    if (found == folder_.tables.end()) return LevelCondition::kDamaged;
    tables_.push_back({&found->second, table.size, table.smallest});
  }
  condition = addLogs(manifest.firstLog, manifest.previousLog);
  isTidy_ = !manifest.hasHistory && manifest.tables.size() == folder_.tables.size() && folder_.logs.empty() &&
            folder_.manifests.size() == 1 && folder_.others.empty() && !folder_.lost;
  return condition == LevelCondition::kSound && hasLoss_ ? LevelCondition::kDamaged : condition;
}

LevelCondition LevelSource::openAll() {
  LevelCondition condition{};
  const LevelFile* current = currentManifest(condition);
  if (condition == LevelCondition::kUnreadable) return condition;
  for (const auto& [number, file] : folder_.manifests) {
    LevelManifest manifest;
    condition = manifest.read(file);
    if (condition != LevelCondition::kSound && condition != LevelCondition::kDamaged) return condition;
    if (&file != current || condition != LevelCondition::kSound) continue;
    const auto isThere = [this](const auto& table) { return folder_.tables.contains(table.first); };
    hasLoss_ = !std::all_of(manifest.tables.begin(), manifest.tables.end(), isThere);
  }
  isTolerant_ = true;
  for (const auto& [number, file] : folder_.tables) tables_.push_back({&file, file.size, LevelKey::first()});
  return addLogs(0, 0);
}

LevelCondition LevelSource::addLogs(std::uint64_t first, std::uint64_t previous) {
  for (const auto& [number, file] : folder_.logs) {
    if (number < first && number != previous) continue;
    const LevelCondition condition = logs_.add(file, hasLoss_);
    if (condition != LevelCondition::kSound) return condition;
  }
  return LevelCondition::kSound;
}

LevelCondition LevelSource::walk(const Visitor& visit) {
  const std::size_t window = std::clamp(kAllWindows / (tables_.size() + 1), kSmallestWindow, kWindow);
  std::vector<std::unique_ptr<LevelRun>> runs;
  for (const Part& part : tables_) {
    runs.push_back(std::make_unique<LevelTable>(*part.file, part.size, part.smallest, window));
  }
  runs.push_back(std::make_unique<LevelLogRun>(logs_));

  Merge merge(std::move(runs), logs_.memory(), isTolerant_, isWanted_);
  std::optional<std::string> previous;
  while (true) {
    const LevelCondition condition = merge.next();
    hasLoss_ = hasLoss_ || merge.hasLoss();
    hasUnwanted_ = hasUnwanted_ || merge.hasUnwanted();
    if (condition != LevelCondition::kSound || merge.run() == nullptr) return condition;
    const auto entry = LevelKey::from(merge.run()->key());
    if (!entry) return LevelCondition::kDamaged;
    const bool isOlder = previous == entry->key;
    if (isOlder || entry->isDeletion) isTidy_ = false;
    if (isOlder) continue;
    previous = entry->key;
    if (!entry->isDeletion && !visit(entry->key, merge.run()->value())) return LevelCondition::kSound;
  }
}

}  // namespace tidewell
