#include "Worker/formats/leveldb/SnappyPieces.h"

#include <algorithm>

#include "Worker/formats/ByteReader.h"

namespace tidewell {
namespace {

constexpr std::size_t kFarthest = std::size_t{64} << 10;  // bytes back: Snappy compresses as many at a time
constexpr std::size_t kLongestText = 4 * kFarthest;
constexpr std::size_t kLongestSize = 5;      // bytes: 32 bits
constexpr std::uint64_t kShortLiteral = 60;  // a tag with a higher number is followed by the length

enum TagKind : std::uint8_t { kLiteral, kNearCopy, kCopy, kFarCopy };

std::uint8_t firstOf(const std::string& tag) {
  return static_cast<std::uint8_t>(tag.front());
}

std::size_t sizeOf(const std::string& tag) {
  const std::uint8_t first = firstOf(tag);
  switch (first & 3U) {
    case kLiteral:
      return 1 + static_cast<std::size_t>((first >> 2) < kShortLiteral ? 0 : (first >> 2) - kShortLiteral + 1);
    case kNearCopy:
      return 2;
    case kCopy:
      return 3;
    default:
      return 5;
  }
}

}  // namespace

bool SnappyPieces::add(std::string_view bytes) {
  while (!bytes.empty()) {
    if (literalLeft_ > 0) {
      const auto count =
          static_cast<std::size_t>(std::min<std::uint64_t>({bytes.size(), literalLeft_, std::uint64_t{kFarthest}}));
      text_.append(bytes.substr(0, count));
      bytes.remove_prefix(count);
      literalLeft_ -= count;
    } else {
      begun_ += bytes.front();
      bytes.remove_prefix(1);
      if (!(hasSize_ ? addToTag() : addToSize())) return false;
    }
    if (text_.size() >= kLongestText) passOn();
  }
  return true;
}

bool SnappyPieces::addToSize() {
  const auto size = ByteReader(begun_).number();
  if (!size) return begun_.size() < kLongestSize;
  hasSize_ = true;
  left_ = *size;
  begun_.clear();
  return true;
}

bool SnappyPieces::addToTag() {
  if (begun_.size() < sizeOf(begun_)) return true;
  const std::string_view more = std::string_view(begun_).substr(1);
  const std::uint8_t first = firstOf(begun_);
  bool isFine = true;
  if ((first & 3U) == kLiteral) {
    literalLeft_ = (more.empty() ? first >> 2 : littleEndian(more)) + 1;
    isFine = literalLeft_ <= left_;
    left_ -= isFine ? literalLeft_ : 0;
  } else if ((first & 3U) == kNearCopy) {
    isFine = addCopy(((first >> 2) & 7U) + 4, (first >> 5) * std::uint64_t{256} + littleEndian(more));
  } else {
    isFine = addCopy((first >> 2) + std::size_t{1}, littleEndian(more));
  }
  begun_.clear();
  return isFine;
}

bool SnappyPieces::addCopy(std::size_t size, std::uint64_t distance) {
  if (distance == 0 || distance > text_.size() || size > left_) return false;
  left_ -= size;
  // More than once where the copy includes its own beginning.
  const std::size_t from = text_.size() - static_cast<std::size_t>(distance);
  while (size > 0) {
    const std::size_t count = std::min(size, text_.size() - from);
    text_.append(text_, from, count);
    size -= count;
  }
  return true;
}

bool SnappyPieces::end() {
  passOn();
  return hasSize_ && left_ == 0 && literalLeft_ == 0 && begun_.empty();
}

void SnappyPieces::passOn() {
  if (passedOn_ < text_.size()) sink_(std::string_view(text_).substr(passedOn_));
  text_.erase(0, text_.size() - std::min(text_.size(), kFarthest));
  passedOn_ = text_.size();
}

}  // namespace tidewell
