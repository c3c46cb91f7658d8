#include "Worker/formats/leveldb/LevelLog.h"

#include <algorithm>
#include <utility>

namespace tidewell {
namespace {

constexpr std::size_t kBlockSize = 32768;         // bytes
constexpr std::size_t kHeaderSize = 7;            // checksum, length, type
constexpr std::size_t kFetched = 8 * kBlockSize;  // bytes at once

enum PieceType : std::uint8_t { kNothing, kWhole, kFirst, kMiddle, kLast };

}  // namespace

LevelCondition LevelLogReader::next(std::string& record, bool& atEnd) {
  record.clear();
  isWithin_ = false;
  while (true) {
    Part part;
    const LevelCondition condition = nextPart(part, atEnd);
    if (condition != LevelCondition::kSound || atEnd) return condition;
    if (record.size() + part.bytes.size() > kLevelMaximalBlock) return LevelCondition::kTooLarge;
    record.append(part.bytes);
    if (part.isLast) return LevelCondition::kSound;
  }
}

LevelCondition LevelLogReader::nextPart(Part& part, bool& atEnd) {
  atEnd = false;
  Piece piece;
  const LevelCondition condition = nextPiece(piece, atEnd);
  const bool wasWithin = std::exchange(isWithin_, false);
  if (condition != LevelCondition::kSound || atEnd) return condition;
  const bool isStart = piece.type == kWhole || piece.type == kFirst;
  // Damage may be followed by the rest of a record whose start was damaged: it can't be used, and counts as lost.
  if (isStart == wasWithin || piece.type > kLast) return LevelCondition::kDamaged;
  part = {piece.bytes, piece.type == kWhole || piece.type == kLast};
  isWithin_ = !part.isLast;
  return LevelCondition::kSound;
}

LevelCondition LevelLogReader::nextPiece(Piece& piece, bool& atEnd) {
  while (true) {
    bool isRest = false;
    if (const LevelCondition condition = cutPiece(piece, isRest); condition != LevelCondition::kSound || !isRest) {
      return condition;
    }
    if (const LevelCondition condition = fetch(atEnd); condition != LevelCondition::kSound || atEnd) return condition;
  }
}

/// Cuts the next piece off the current block. `isRest` is set when the block holds no more pieces.
LevelCondition LevelLogReader::cutPiece(Piece& piece, bool& isRest) {
  isRest = true;
  const bool isLast = isLastBlock() && position_ >= fetched_.size();
  ByteReader bytes(block_);
  const auto checksum = bytes.fixedNumber(4);
  const auto size = bytes.fixedNumber(2);
  const auto type = bytes.fixedNumber(1);
  const auto content = type ? bytes.bytes(*size) : std::nullopt;
  if (!content) {
    block_ = {};
    return type && !isLast ? LevelCondition::kDamaged : LevelCondition::kSound;
  }
  if (*type == kNothing && *size == 0) {  // room that was preallocated and not written
    block_ = {};
    return LevelCondition::kSound;
  }
  if (levelChecksum(block_.substr(kHeaderSize - 1, 1), *content) != *checksum) {
    block_ = {};  // the length itself may be wrong
    return LevelCondition::kDamaged;
  }
  block_.remove_prefix(kHeaderSize + content->size());
  piece = {*type, *content};
  isRest = false;
  return LevelCondition::kSound;
}

/// Moves to the next block, and reads more of the file when needed.
LevelCondition LevelLogReader::fetch(bool& atEnd) {
  if (position_ >= fetched_.size()) {
    atEnd = isLastBlock();
    if (atEnd) return LevelCondition::kSound;
    auto read = file_.read(offset_, kFetched);
    if (!read || read->size() != std::min<std::uint64_t>(kFetched, file_.size - offset_)) {
      return LevelCondition::kUnreadable;
    }
    fetched_ = std::move(*read);
    offset_ += fetched_.size();
    position_ = 0;
  }
  block_ = std::string_view(fetched_).substr(position_, kBlockSize);
  position_ += block_.size();
  return LevelCondition::kSound;
}

void appendLevelRecord(std::string& file, std::string_view record) {
  bool isFirst = true;
  bool isLast = false;
  while (!isLast) {
    std::size_t room = kBlockSize - file.size() % kBlockSize;
    if (room < kHeaderSize) {
      file.append(room, '\0');
      room = kBlockSize;
    }
    const std::string_view content = record.substr(0, room - kHeaderSize);
    record.remove_prefix(content.size());
    isLast = record.empty();
    const std::uint8_t whole = isFirst ? kWhole : kLast;
    const std::uint8_t part = isFirst ? kFirst : kMiddle;
    const char type = static_cast<char>(isLast ? whole : part);
    appendFixedNumber(file, levelChecksum({&type, 1}, content), 4);
    appendFixedNumber(file, content.size(), 2);
    file.push_back(type);
    file.append(content);
    isFirst = false;
  }
}

}  // namespace tidewell
