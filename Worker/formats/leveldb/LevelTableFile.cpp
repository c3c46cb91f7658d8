#include "Worker/formats/leveldb/LevelTableFile.h"

#include <snappy.h>

#include <algorithm>
#include <utility>

namespace tidewell {
namespace {

constexpr std::size_t kFooterSize = 48;  // bytes: two block handles, padding, and the magic number
constexpr std::uint64_t kMagic = 0xdb4775248b80fb57;
constexpr std::size_t kTrailerSize = 5;     // behind each block: how it is compressed, and the checksum
constexpr std::size_t kLongestHandle = 20;  // bytes: two numbers
constexpr std::size_t kHighestRatio = 22;   // snappy makes at most 64 bytes of 3
constexpr std::size_t kMostBlocks = std::size_t{4} << 20;

constexpr LevelBlockPlace kNowhere = {~std::uint64_t{0}, ~std::uint64_t{0}};  // in no file

enum Compression : char { kNone, kSnappy };

/// The contents of a block, if they are no larger than kLevelMaximalBlock.
LevelCondition decompress(std::string_view bytes, char compression, std::string& content) {
  if (compression == kNone) {
    content = bytes;
    return LevelCondition::kSound;
  }
  if (compression != kSnappy) return LevelCondition::kUnreadable;  // written by a later LevelDB
  std::size_t size = 0;
  if (!snappy::GetUncompressedLength(bytes.data(), bytes.size(), &size)) return LevelCondition::kDamaged;
  if (size > bytes.size() * kHighestRatio) return LevelCondition::kDamaged;
  if (size > kLevelMaximalBlock) return LevelCondition::kTooLarge;
  content.assign(size, '\0');
  return snappy::RawUncompress(bytes.data(), bytes.size(), content.data()) ? LevelCondition::kSound
                                                                           : LevelCondition::kDamaged;
}

}  // namespace

LevelCondition LevelTableFile::blocks(std::vector<LevelBlockPlace>& places, bool& isCut) {
  LevelBlockPlace index;
  if (const LevelCondition condition = indexPlace(index); condition != LevelCondition::kSound) return condition;
  bool isTooLong = false;
  std::string place;
  LevelEntryVisitor visitor;
  visitor.key = [](std::string_view) {};
  visitor.value = [&](std::string_view piece, bool isLast) {
    place.append(piece.substr(0, kLongestHandle - std::min(kLongestHandle, place.size())));
    if (!isLast) return;
    ByteReader numbers(place);
    const auto offset = numbers.number();
    const auto size = numbers.number();
    isTooLong = isTooLong || places.size() >= kMostBlocks;
    if (!isTooLong) places.push_back(size ? LevelBlockPlace{*offset, *size} : kNowhere);
    place.clear();
  };
  const LevelCondition condition = visitBlock(index, visitor);
  if (isTooLong) return LevelCondition::kTooLarge;
  isCut = condition == LevelCondition::kDamaged && !places.empty();
  return isCut ? LevelCondition::kSound : condition;
}

LevelCondition LevelTableFile::indexPlace(LevelBlockPlace& index) {
  if (size_ < kFooterSize || size_ > file_.size) return LevelCondition::kDamaged;
  std::string_view footer;
  if (const LevelCondition condition = fetch(size_ - kFooterSize, kFooterSize, footer);
      condition != LevelCondition::kSound) {
    return condition;
  }
  if (*ByteReader(footer.substr(kFooterSize - 8)).fixedNumber(8) != kMagic) return LevelCondition::kDamaged;
  ByteReader numbers(footer);
  if (!numbers.number() || !numbers.number()) return LevelCondition::kDamaged;  // the filters', which is not needed
  const auto offset = numbers.number();
  const auto size = numbers.number();
  if (!size) return LevelCondition::kDamaged;
  index = {*offset, *size};
  return LevelCondition::kSound;
}

bool LevelTableFile::isInFile(LevelBlockPlace place) const {
  return place.offset <= size_ && place.size <= size_ - place.offset &&
         size_ - place.offset - place.size >= kTrailerSize;
}

LevelCondition LevelTableFile::readBlock(LevelBlockPlace place, LevelBlock& block) {
  block = {};
  if (!isInFile(place)) return LevelCondition::kDamaged;
  if (place.size > kLevelMaximalBlock) return LevelCondition::kTooLarge;
  const auto count = static_cast<std::size_t>(place.size);
  std::string_view bytes;
  if (const LevelCondition condition = fetch(place.offset, count + kTrailerSize, bytes);
      condition != LevelCondition::kSound) {
    return condition;
  }
  const std::uint64_t checksum = *ByteReader(bytes.substr(count + 1)).fixedNumber(4);
  if (levelChecksum(bytes.substr(0, count + 1)) != checksum) return LevelCondition::kDamaged;
  std::string content;
  const LevelCondition condition = decompress(bytes.substr(0, count), bytes[count], content);
  if (fetched_.size() > window_) fetched_ = {};  // a large block needs no second copy
  return condition == LevelCondition::kSound ? block.assign(std::move(content)) : condition;
}

/// Twice over its bytes: only its last ones say where the entries end.
LevelCondition LevelTableFile::visitBlock(LevelBlockPlace place, const LevelEntryVisitor& visitor) {
  LevelBlockEnd last;
  LevelCondition condition = forEachPiece(place, [&last](std::string_view piece) { last.add(piece); });
  std::uint64_t end = 0;
  if (condition == LevelCondition::kSound && !last.find(end)) condition = LevelCondition::kDamaged;
  if (condition != LevelCondition::kSound) return condition;
  LevelBlockPieces entries(end, visitor);
  condition = forEachPiece(place, [&entries](std::string_view piece) { entries.add(piece); });
  if (condition == LevelCondition::kSound && !entries.isWhole()) condition = LevelCondition::kDamaged;
  return condition;
}

/// Passes the contents of a block on. At the end it is known whether they were what LevelDB wrote.
LevelCondition LevelTableFile::forEachPiece(LevelBlockPlace place, const SnappyPieces::Sink& use) {
  if (!isInFile(place)) return LevelCondition::kDamaged;
  const std::uint64_t end = place.offset + place.size;
  std::string_view bytes;
  // A block that fits in the window is read at once.
  const std::uint64_t first = place.size + kTrailerSize <= window_ ? place.offset : end;
  LevelCondition condition = fetch(first, static_cast<std::size_t>(end + kTrailerSize - first), bytes);
  if (condition != LevelCondition::kSound) return condition;
  const std::string trailer(bytes.substr(bytes.size() - kTrailerSize));

  LevelChecksum checksum;
  SnappyPieces text(use);
  const char compression = trailer[0];
  bool isFine = true;
  for (std::uint64_t offset = place.offset; offset < end && isFine; offset += bytes.size()) {
    condition = fetch(offset, static_cast<std::size_t>(std::min<std::uint64_t>(end - offset, window_)), bytes);
    if (condition != LevelCondition::kSound) return condition;
    checksum.add(bytes);
    if (compression == kNone) use(bytes);
    if (compression == kSnappy) isFine = text.add(bytes);
  }
  checksum.add(std::string_view(trailer).substr(0, 1));
  if (!isFine || checksum.value() != littleEndian(std::string_view(trailer).substr(1))) return LevelCondition::kDamaged;
  if (compression == kNone) return LevelCondition::kSound;
  if (compression != kSnappy) return LevelCondition::kUnreadable;  // written by a later LevelDB
  return text.end() ? LevelCondition::kSound : LevelCondition::kDamaged;
}

/// The bytes of the file, valid until the next call.
LevelCondition LevelTableFile::fetch(std::uint64_t offset, std::size_t count, std::string_view& bytes) {
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

}  // namespace tidewell
