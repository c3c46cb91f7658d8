#include "Worker/formats/leveldb/LevelTable.h"

#include <utility>

namespace tidewell {
namespace {

constexpr std::size_t kHandleMemory = 64;  // bytes, at most

}  // namespace

LevelCondition LevelTable::next() {
  LevelCondition condition = LevelCondition::kSound;
  if (state_ == State::kClosed) {
    state_ = State::kOpen;
    condition = file_.blocks(handles_, isIndexDamaged_);
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
  if (nextHandle_ < handles_.size()) return file_.readBlock(handles_[nextHandle_++], block_);
  if (std::exchange(isIndexDamaged_, false)) return LevelCondition::kDamaged;
  close();
  return LevelCondition::kSound;
}

void LevelTable::close() {
  state_ = State::kAtEnd;
  handles_ = {};
  nextHandle_ = 0;
  block_ = {};
  file_.close();
}

std::size_t LevelTable::memory() const {
  return handles_.capacity() * kHandleMemory + block_.memory() + file_.memory() + previous_.capacity() +
         smallest_.capacity();
}

}  // namespace tidewell
