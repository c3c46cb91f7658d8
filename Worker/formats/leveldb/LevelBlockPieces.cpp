#include "Worker/formats/leveldb/LevelBlockPieces.h"

#include <algorithm>

#include "Worker/formats/ByteReader.h"

namespace tidewell {
namespace {

constexpr std::size_t kLongestHead = 30;  // bytes

std::string_view take(std::string_view& bytes, std::uint64_t most) {
  const std::string_view taken = bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), most)));
  bytes.remove_prefix(taken.size());
  return taken;
}

}  // namespace

void LevelBlockEnd::add(std::string_view bytes) {
  size_ += bytes.size();
  last_.append(bytes.substr(bytes.size() - std::min<std::size_t>(bytes.size(), 4)));
  last_.erase(0, last_.size() - std::min<std::size_t>(last_.size(), 4));
}

bool LevelBlockEnd::find(std::uint64_t& end) const {
  if (size_ < 8) return false;
  const std::uint64_t places = littleEndian(last_);
  if (places == 0 || places > (size_ - 4) / 4) return false;
  end = size_ - 4 - places * 4;
  return true;
}

void LevelBlockPieces::add(std::string_view bytes) {
  bytes = take(bytes, left_);
  left_ -= bytes.size();
  while (!bytes.empty() && !isBroken_) {
    if (part_ == Part::kHead) {
      addToHead(bytes);
    } else if (part_ == Part::kKey) {
      addToKey(bytes);
    } else {
      addToValue(bytes);
    }
  }
}

void LevelBlockPieces::addToHead(std::string_view& bytes) {
  head_ += take(bytes, 1);
  ByteReader numbers(head_);
  const auto shared = numbers.number();
  const auto unshared = numbers.number();
  const auto valueSize = numbers.number();
  if (!valueSize) {
    isBroken_ = head_.size() >= kLongestHead;
    return;
  }
  head_.clear();
  isBroken_ = *shared > keySize_ || *unshared > ~*shared;
  if (isBroken_) return;
  keySize_ = *shared + *unshared;
  key_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(*shared, key_.size())));
  keyLeft_ = *unshared;
  valueLeft_ = *valueSize;
  part_ = Part::kKey;
  if (keyLeft_ == 0) endKey();
}

void LevelBlockPieces::addToKey(std::string_view& bytes) {
  const std::string_view piece = take(bytes, keyLeft_);
  keyLeft_ -= piece.size();
  key_.append(piece.substr(0, visitor_.longestKey - std::min(visitor_.longestKey, key_.size())));
  if (keyLeft_ == 0) endKey();
}

void LevelBlockPieces::endKey() {
  visitor_.key(key_);
  part_ = valueLeft_ == 0 ? Part::kHead : Part::kValue;
  if (valueLeft_ == 0) visitor_.value({}, true);
}

void LevelBlockPieces::addToValue(std::string_view& bytes) {
  const std::string_view piece = take(bytes, valueLeft_);
  valueLeft_ -= piece.size();
  visitor_.value(piece, valueLeft_ == 0);
  if (valueLeft_ == 0) part_ = Part::kHead;
}

}  // namespace tidewell
