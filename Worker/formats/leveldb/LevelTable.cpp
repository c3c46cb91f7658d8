#include "Worker/formats/leveldb/LevelTable.h"

#include <snappy.h>

#include <algorithm>
#include <utility>

namespace tidewell {
namespace {

constexpr std::size_t kFooterSize = 48;  // bytes: two block handles, padding, and the magic number
constexpr std::uint64_t kMagic = 0xdb4775248b80fb57;
constexpr std::size_t kTrailerSize = 5;     // behind each block: how it is compressed, and the checksum
constexpr std::size_t kLongestHandle = 20;  // bytes: two numbers
constexpr std::size_t kHandleMemory = 64;   // bytes, at most
constexpr std::size_t kHighestRatio = 22;   // snappy makes at most 64 bytes of 3

/// The contents of a block, if they are no larger than `largest` bytes.
LevelCondition decompress(std::string_view bytes, char compression, std::size_t largest, std::string& content) {
  if (compression == 0) {
    content = bytes;
    return LevelCondition::kSound;
  }
  if (compression != 1) return LevelCondition::kUnreadable;  // written by a later LevelDB
  std::size_t size = 0;
  if (!snappy::GetUncompressedLength(bytes.data(), bytes.size(), &size)) return LevelCondition::kDamaged;
  if (size > bytes.size() * kHighestRatio) return LevelCondition::kDamaged;
  if (size > largest) return LevelCondition::kUnreadable;
  content.assign(size, '\0');
  return snappy::RawUncompress(bytes.data(), bytes.size(), content.data()) ? LevelCondition::kSound
                                                                           : LevelCondition::kDamaged;
}

}  // namespace

LevelCondition LevelBlock::assign(std::string bytes) {
  *this = {};
  bytes_ = std::move(bytes);
  // Behind the entries: the offsets of those with whole keys, and the number of these offsets.
  if (bytes_.size() < 8) return LevelCondition::kDamaged;
  const std::uint64_t places = *ByteReader(std::string_view(bytes_).substr(bytes_.size() - 4)).fixedNumber(4);
  if (places == 0 || places > (bytes_.size() - 4) / 4) return LevelCondition::kDamaged;
  end_ = bytes_.size() - 4 - static_cast<std::size_t>(places) * 4;
  return LevelCondition::kSound;
}

LevelCondition LevelBlock::next() {
  atEnd_ = position_ >= end_;
  if (atEnd_) return LevelCondition::kSound;
  const std::string_view rest = std::string_view(bytes_).substr(position_, end_ - position_);
  ByteReader bytes(rest);
  const auto shared = bytes.number();
  const auto keySize = bytes.number();
  const auto valueSize = bytes.number();
  const auto key = keySize && valueSize ? bytes.bytes(*keySize) : std::nullopt;
  const auto value = key ? bytes.bytes(*valueSize) : std::nullopt;
  if (!value || *shared > key_.size()) {
    position_ = end_;
    return LevelCondition::kDamaged;
  }
  key_.resize(static_cast<std::size_t>(*shared));
  key_.append(*key);
  value_ = *value;
  position_ = static_cast<std::size_t>(value->data() + value->size() - bytes_.data());
  return LevelCondition::kSound;
}

LevelCondition LevelTable::next() {
  LevelCondition condition = LevelCondition::kSound;
  if (state_ == State::kClosed) {
    state_ = State::kOpen;
    condition = open();
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
  if (nextHandle_ < handles_.size()) return readBlock(handles_[nextHandle_++], kLevelMaximalBlock, block_);
  if (std::exchange(isIndexDamaged_, false)) return LevelCondition::kDamaged;
  close();
  return LevelCondition::kSound;
}

LevelCondition LevelTable::open() {
  if (size_ < kFooterSize || size_ > file_.size) return LevelCondition::kDamaged;
  std::string_view footer;
  if (const LevelCondition condition = fetch(size_ - kFooterSize, kFooterSize, footer);
      condition != LevelCondition::kSound) {
    return condition;
  }
  if (*ByteReader(footer.substr(kFooterSize - 8)).fixedNumber(8) != kMagic) return LevelCondition::kDamaged;
  ByteReader handles(footer);
  if (!handles.number() || !handles.number()) return LevelCondition::kDamaged;  // the filters', which is not needed
  const std::string handle(*handles.bytes(kFooterSize - 8 - 20));
  LevelBlock index;
  const LevelCondition condition = readBlock(handle, kLevelMaximalIndex, index);
  if (condition == LevelCondition::kSound) readHandles(index);
  return condition;
}

void LevelTable::readHandles(LevelBlock& index) {
  while (true) {
    isIndexDamaged_ = index.next() != LevelCondition::kSound;
    if (isIndexDamaged_ || index.atEnd()) return;
    handles_.emplace_back(index.value().substr(0, kLongestHandle));
  }
}

/// Reads the block whose offset and size are in `handle`.
LevelCondition LevelTable::readBlock(std::string_view handle, std::size_t largest, LevelBlock& block) {
  block = {};
  ByteReader numbers(handle);
  const auto offset = numbers.number();
  const auto size = numbers.number();
  if (!offset || !size || *offset > size_ || *size > size_ - *offset || size_ - *offset - *size < kTrailerSize) {
    return LevelCondition::kDamaged;
  }
  if (*size > largest) return LevelCondition::kUnreadable;
  const auto count = static_cast<std::size_t>(*size);
  std::string_view bytes;
  if (const LevelCondition condition = fetch(*offset, count + kTrailerSize, bytes);
      condition != LevelCondition::kSound) {
    return condition;
  }
  const std::uint64_t checksum = *ByteReader(bytes.substr(count + 1)).fixedNumber(4);
  if (levelChecksum(bytes.substr(0, count + 1)) != checksum) return LevelCondition::kDamaged;
  std::string content;
  const LevelCondition condition = decompress(bytes.substr(0, count), bytes[count], largest, content);
  if (fetched_.size() > window_) fetched_ = {};  // a large block needs no second copy
  return condition == LevelCondition::kSound ? block.assign(std::move(content)) : condition;
}

/// The bytes of the file, valid until the next call.
LevelCondition LevelTable::fetch(std::uint64_t offset, std::size_t count, std::string_view& bytes) {
  const bool isFetched = offset >= fetchedFrom_ && offset + count <= fetchedFrom_ + fetched_.size();
  if (!isFetched) {
    const auto upTo = std::min<std::uint64_t>(size_ - offset, std::max(count, window_));
    auto read = file_.read(offset, static_cast<std::size_t>(upTo));
    if (!read || read->size() < count) return LevelCondition::kUnreadable;
    fetched_ = std::move(*read);
    fetchedFrom_ = offset;
  }
  bytes = std::string_view(fetched_).substr(static_cast<std::size_t>(offset - fetchedFrom_), count);
  return LevelCondition::kSound;
}

void LevelTable::close() {
  state_ = State::kAtEnd;
  handles_ = {};
  nextHandle_ = 0;
  block_ = {};
  fetched_ = {};
}

std::size_t LevelTable::memory() const {
  return handles_.capacity() * kHandleMemory + block_.memory() + fetched_.capacity() + previous_.capacity() +
         smallest_.capacity();
}

}  // namespace tidewell
