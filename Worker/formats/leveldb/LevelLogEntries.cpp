#include "Worker/formats/leveldb/LevelLog.h"
#include "Worker/formats/leveldb/LevelRun.h"

namespace tidewell {
namespace {

constexpr std::size_t kEntryOverhead = 160;  // bytes that the map takes for an entry, about
constexpr std::uint64_t kSequences = std::uint64_t{1} << 56;

}  // namespace

LevelCondition LevelLogEntries::add(const LevelFile& log, bool& hasLoss) {
  LevelLogReader reader(log);
  std::string batch;
  bool atEnd = false;
  while (true) {
    LevelCondition condition = reader.next(batch, atEnd);
    if (atEnd) return LevelCondition::kSound;  // an incomplete last record was never acknowledged
    if (condition == LevelCondition::kSound) condition = addBatch(batch);
    if (condition == LevelCondition::kDamaged) {
      hasLoss = true;
    } else if (condition != LevelCondition::kSound) {
      return condition;
    }
  }
}

LevelCondition LevelLogEntries::addBatch(std::string_view batch) {
  ByteReader bytes(batch);
  const auto sequence = bytes.fixedNumber(8);
  const auto count = bytes.fixedNumber(4);
  if (!count || *sequence >= kSequences - *count) return LevelCondition::kDamaged;
  std::uint64_t index = 0;
  for (; !bytes.atEnd() && index < *count; ++index) {
    const auto type = bytes.fixedNumber(1);
    const auto key = bytes.text();
    const bool isDeletion = *type == 0;
    const auto value = isDeletion ? std::optional(std::string_view()) : bytes.text();
    if (*type > 1 || !key || !value) return LevelCondition::kDamaged;
    addEntry({*key, *sequence + index, isDeletion}, *value);
    if (memory_ > kLevelMaximalMemory) return LevelCondition::kTooLarge;
  }
  return bytes.atEnd() && index == *count ? LevelCondition::kSound : LevelCondition::kDamaged;
}

void LevelLogEntries::addEntry(const LevelKey& key, std::string_view value) {
  auto found = entries_.find(key.key);
  if (found == entries_.end()) {
    found = entries_.emplace(key.key, Entry()).first;
    memory_ += key.key.size() + kEntryOverhead;
  } else if (found->second.sequence > key.sequence) {
    return;
  }
  Entry& entry = found->second;
  memory_ += value.size() - entry.value.size();
  entry = {key.sequence, key.isDeletion, std::string(value)};
}

LevelCondition LevelLogRun::next() {
  atEnd_ = next_ == entries_.end();
  if (atEnd_) return LevelCondition::kSound;
  key_ = LevelKey{next_->first, next_->second.sequence, next_->second.isDeletion}.bytes();
  value_ = next_->second.value;
  ++next_;
  return LevelCondition::kSound;
}

}  // namespace tidewell
