#include "Worker/formats/leveldb/LevelManifest.h"

#include "Worker/formats/leveldb/LevelEdit.h"
#include "Worker/formats/leveldb/LevelLog.h"

namespace tidewell {
namespace {

constexpr std::string_view kByteOrder = "leveldb.BytewiseComparator";
constexpr std::uint64_t kLevels = 7;

bool assign(std::uint64_t& number, ByteReader& edit) {
  const auto read = edit.number();
  if (read) number = *read;
  return read.has_value();
}

}  // namespace

LevelCondition LevelManifest::read(const LevelFile& file) {
  LevelLogReader reader(file);
  LevelEdit edit;
  bool atEnd = false;
  while (true) {
    LevelLogReader::Part part;
    LevelCondition condition = reader.nextPart(part, atEnd);
    if (condition != LevelCondition::kSound) return condition;
    if (atEnd) break;
    edit.add(part.bytes);
    if (edit.bytes().size() > kLevelMaximalBlock) return LevelCondition::kTooLarge;
    if (!part.isLast) continue;
    condition = edit.isWhole() ? apply(edit.bytes()) : LevelCondition::kDamaged;
    if (condition != LevelCondition::kSound) return condition;
    edit = {};
  }
  // An incomplete last edit never took effect: the files that it would have made obsolete are still there.
  return nextNumber != 0 ? LevelCondition::kSound : LevelCondition::kDamaged;
}

LevelCondition LevelManifest::apply(std::string_view edit) {
  ByteReader fields(edit);
  bool isForeign = false;
  while (!fields.atEnd()) {
    const auto tag = fields.number();
    if (!tag || !applyField(*tag, fields, isForeign)) return LevelCondition::kDamaged;
    if (isForeign) return LevelCondition::kUnreadable;
  }
  return LevelCondition::kSound;
}

bool LevelManifest::applyField(std::uint64_t tag, ByteReader& edit, bool& isForeign) {
  switch (tag) {
    case kComparator: {
      const auto name = edit.text();
      isForeign = name && *name != kByteOrder;
      return name.has_value();
    }
    case kLogNumber:
      return assign(firstLog, edit);
    case kPreviousLog:
      return assign(previousLog, edit);
    case kNextNumber:
      return assign(nextNumber, edit);
    case kLastSequence:
      return assign(lastSequence, edit);
    case kCompactPointer:
      hasHistory = true;
      return edit.number() && edit.text();
    case kDeletedTable: {
      hasHistory = true;
      const auto level = edit.number();
      const auto number = edit.number();
      if (!level || !number) return false;
      // A table that moves to another level is deleted from one and added to the other, in this order.
      if (const auto table = tables.find(*number); table != tables.end() && table->second.level == *level) {
        tables.erase(table);
      }
      return true;
    }
    case kNewTable:
      return addTable(edit);
    default:
      return false;
  }
}

bool LevelManifest::addTable(ByteReader& edit) {
  const auto level = edit.number();
  const auto number = edit.number();
  const auto size = edit.number();
  const auto smallest = edit.text();
  const auto largest = edit.text();
  if (!level || *level >= kLevels || !number || !size || !smallest || !largest) return false;
  if (!LevelKey::from(*smallest) || !LevelKey::from(*largest)) return false;
  tables.insert_or_assign(*number, Table{*level, *size, std::string(*smallest), std::string(*largest)});
  return true;
}

std::string LevelManifest::bytes() const {
  std::string edit;
  appendNumber(edit, kComparator);
  appendText(edit, kByteOrder);
  for (const auto& [tag, number] :
       {std::pair(kLogNumber, firstLog), std::pair(kNextNumber, nextNumber), std::pair(kLastSequence, lastSequence)}) {
    appendNumber(edit, tag);
    appendNumber(edit, number);
  }
  for (const auto& [number, table] : tables) {
    for (const std::uint64_t field : {std::uint64_t{kNewTable}, table.level, number, table.size}) {
      appendNumber(edit, field);
    }
    appendText(edit, table.smallest);
    appendText(edit, table.largest);
  }
  std::string file;
  appendLevelRecord(file, edit);
  return file;
}

}  // namespace tidewell
