#include "Worker/formats/leveldb/LevelEdit.h"

#include <algorithm>

namespace tidewell {
namespace {

constexpr std::size_t kLongestNumber = 10;  // bytes

/// What follows a tag; empty for a tag that is not known.
std::string_view shapeOf(std::uint64_t tag) {
  switch (tag) {
    case kComparator:
      return "t";
    case kLogNumber:
    case kPreviousLog:
    case kNextNumber:
    case kLastSequence:
      return "n";
    case kCompactPointer:
      return "nt";
    case kDeletedTable:
      return "nn";
    case kNewTable:
      return "nnntt";
    default:
      return "";
  }
}

}  // namespace

void LevelEdit::add(std::string_view bytes) {
  while (!bytes.empty() && !isBroken_) {
    if (textLeft_ > 0) {
      addToText(bytes);
    } else {
      addToNumber(bytes.front());
      bytes.remove_prefix(1);
    }
  }
}

void LevelEdit::addToNumber(char byte) {
  number_ += byte;
  const bool isLast = (static_cast<unsigned char>(byte) & 0x80U) == 0;
  if (!isLast && number_.size() < kLongestNumber) return;
  const auto number = ByteReader(number_).number();
  number_.clear();
  isBroken_ = !number;
  if (number) endNumber(*number);
}

void LevelEdit::endNumber(std::uint64_t number) {
  if (rest_.empty()) {
    rest_ = shapeOf(number);
    isBroken_ = rest_.empty();
  } else if (rest_.front() == 'n') {
    rest_.remove_prefix(1);
  } else {
    textLeft_ = number;
    isCut_ = number > kLongestText;
    if (number == 0) endText();
    return;
  }
  appendNumber(bytes_, number);
}

void LevelEdit::addToText(std::string_view& bytes) {
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), textLeft_));
  text_.append(bytes.substr(0, std::min(count, kLongestText - text_.size())));
  bytes.remove_prefix(count);
  textLeft_ -= count;
  if (textLeft_ == 0) endText();
}

void LevelEdit::endText() {
  if (isCut_) text_ += LevelKey::first();
  appendText(bytes_, text_);
  text_.clear();
  rest_.remove_prefix(1);
}

}  // namespace tidewell
