#include "Worker/formats/leveldb/LevelSearch.h"

#include <algorithm>
#include <string>
#include <vector>

#include "Worker/formats/leveldb/LevelLog.h"
#include "Worker/formats/leveldb/LevelTableFile.h"

namespace tidewell {
namespace {

using Search = std::function<bool(std::string_view bytes)>;

constexpr std::size_t kSearched = std::size_t{1} << 20;  // bytes at once
constexpr std::size_t kOverlap = std::size_t{64} << 10;  // bytes that are searched again with those that follow
constexpr std::size_t kWindow = std::size_t{64} << 10;   // bytes
constexpr std::size_t kLongestKey = 1024;                // bytes: browsers' keys begin with what they belong to

/// Bytes that come in pieces, searched as one text.
class Text {
 public:
  explicit Text(const Search& isFound) : isFound_(isFound) {}

  void add(std::string_view piece) {
    text_ += piece;
    if (text_.size() < kSearched) return;
    search();
    text_.erase(0, text_.size() - kOverlap);
  }
  void search() { isThere_ = isThere_ || isFound_(text_); }
  bool isThere() const { return isThere_; }

 private:
  const Search& isFound_;
  std::string text_;
  bool isThere_ = false;
};

bool isUnclear(LevelCondition condition) {
  return condition == LevelCondition::kUnreadable || condition == LevelCondition::kTooLarge;
}

bool isInFile(const LevelFile& file, const Search& isFound) {
  for (std::uint64_t offset = 0; offset < file.size; offset += kSearched) {
    const auto bytes = file.read(offset, kSearched + kOverlap);
    if (!bytes || isFound(*bytes)) return true;
  }
  return false;
}

/// Blocks cut a log's records into parts.
bool isInRecords(const LevelFile& log, const Search& isFound) {
  LevelLogReader reader(log);
  Text text(isFound);
  bool atEnd = false;
  while (!atEnd) {
    LevelLogReader::Part part;
    const LevelCondition condition = reader.nextPart(part, atEnd);
    if (isUnclear(condition)) return true;
    if (condition == LevelCondition::kSound) text.add(part.bytes);
  }
  text.search();
  return text.isThere();
}

bool isInEntries(const LevelFile& table, const Search& isFound) {
  LevelTableFile file(table, table.size, kWindow);
  std::vector<LevelBlockPlace> places;
  bool isCut = false;
  if (const LevelCondition condition = file.blocks(places, isCut); condition != LevelCondition::kSound) {
    return isUnclear(condition);
  }
  Text text(isFound);
  LevelEntryVisitor visitor;
  visitor.longestKey = kLongestKey;
  visitor.key = [&text](std::string_view beginning) { text.add(beginning); };
  visitor.value = [&text](std::string_view piece, bool) { text.add(piece); };
  for (const LevelBlockPlace& place : places) {
    if (isUnclear(file.visitBlock(place, visitor)) || text.isThere()) return true;
  }
  text.search();
  return text.isThere();
}

}  // namespace

bool levelFolderHolds(const LevelFolder& folder, const Search& isFound) {
  const std::vector<LevelFile> files = folder.files();
  return std::any_of(files.begin(), files.end(), [&](const LevelFile& file) { return isInFile(file, isFound); }) ||
         std::any_of(folder.logs.begin(), folder.logs.end(),
                     [&](const auto& log) { return isInRecords(log.second, isFound); }) ||
         std::any_of(folder.tables.begin(), folder.tables.end(),
                     [&](const auto& table) { return isInEntries(table.second, isFound); });
}

}  // namespace tidewell
