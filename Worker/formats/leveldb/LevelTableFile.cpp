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

LevelCondition LevelTableFile::blocks(std::vector<std::string>& handles, bool& isCut) {
  if (size_ < kFooterSize || size_ > file_.size) return LevelCondition::kDamaged;
  std::string_view footer;
  if (const LevelCondition condition = fetch(size_ - kFooterSize, kFooterSize, footer);
      condition != LevelCondition::kSound) {
    return condition;
  }
  if (*ByteReader(footer.substr(kFooterSize - 8)).fixedNumber(8) != kMagic) return LevelCondition::kDamaged;
  ByteReader numbers(footer);
  if (!numbers.number() || !numbers.number()) return LevelCondition::kDamaged;  // the filters', which is not needed
  const std::string handle(*numbers.bytes(kFooterSize - 8 - 20));
  LevelBlock index;
  if (const LevelCondition condition = readBlock(handle, kLevelMaximalIndex, index);
      condition != LevelCondition::kSound) {
    return condition;
  }
  while (true) {
    isCut = index.next() != LevelCondition::kSound;
    if (isCut || index.atEnd()) return LevelCondition::kSound;
    handles.emplace_back(index.value().substr(0, kLongestHandle));
  }
}

LevelCondition LevelTableFile::readBlock(std::string_view handle, LevelBlock& block) {
  return readBlock(handle, kLevelMaximalBlock, block);
}

LevelCondition LevelTableFile::readBlock(std::string_view handle, std::size_t largest, LevelBlock& block) {
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
