#include "Worker/formats/leveldb/LevelTable.h"

#include <utility>

namespace tidewell {
LevelCondition LevelTable::next() {
  LevelCondition condition = LevelCondition::kSound;
  if (state_ == State::kClosed) {
    state_ = State::kOpen;
    condition = file_.blocks(places_, isIndexDamaged_);
    if (condition != LevelCondition::kSound) close();
  }
  while (condition == LevelCondition::kSound && state_ == State::kOpen) {
    condition = nextInBlock();
    if (condition != LevelCondition::kSound || !block_.atEnd()) return condition;
    condition = turnToBlock();
  }
  return condition;
}

LevelCondition LevelTable::nextInBlock() {
  if (const LevelCondition condition = block_.next(); condition != LevelCondition::kSound || block_.atEnd()) {
    return condition;
  }
  if (!LevelKey::from(block_.key())) return LevelCondition::kDamaged;
  // The block's checksum is right, so it was written in another order than that of bytes.
  if (!previous_.empty() && compareLevelKeys(previous_, block_.key()) >= 0) return LevelCondition::kUnreadable;
  const bool isTooEarly = !smallest_.empty() && compareLevelKeys(block_.key(), smallest_) < 0;
  smallest_.clear();
  previous_ = block_.key();
  return isTooEarly ? LevelCondition::kDamaged : LevelCondition::kSound;
}

LevelCondition LevelTable::turnToBlock() {
  if (nextPlace_ < places_.size()) return file_.readBlock(places_[nextPlace_++], block_);
  if (std::exchange(isIndexDamaged_, false)) return LevelCondition::kDamaged;
  close();
  return LevelCondition::kSound;
}

void LevelTable::close() {
  state_ = State::kAtEnd;
  places_ = {};
  nextPlace_ = 0;
  block_ = {};
  file_.close();
}

std::size_t LevelTable::memory() const {
  return places_.capacity() * sizeof(LevelBlockPlace) + block_.memory() + file_.memory() + previous_.capacity() +
         smallest_.capacity();
}

}  // namespace tidewell
