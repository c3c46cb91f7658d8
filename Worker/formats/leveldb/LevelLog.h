// Sequences of records: the format of LevelDB's logs and of its manifests.
//
// A file consists of blocks of 32 KB; a record that does not fit in the rest of its block continues in the next.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelFormat.h"

namespace tidewell {

class LevelLogReader {
 public:
  /// The file must outlive the object.
  explicit LevelLogReader(const LevelFile& file) : file_(file) {}

  /// A piece of a record, valid until the next call.
  struct Part {
    std::string_view bytes;
    bool isLast = false;  // of its record
  };

  /// The next part of a record, for records of any size. Behaves as next(): after damage the first part of a later
  /// record follows.
  LevelCondition nextPart(Part& part, bool& atEnd);

  /// The next record. At the end `atEnd` is set. An incomplete last record, which was being written when the system
  /// stopped, is ignored. After damage, further calls return the records behind it.
  LevelCondition next(std::string& record, bool& atEnd);

 private:
  struct Piece {
    std::uint64_t type = 0;
    std::string_view bytes;
  };

  LevelCondition nextPiece(Piece& piece, bool& atEnd);
  LevelCondition cutPiece(Piece& piece, bool& isRest);
  LevelCondition fetch(bool& atEnd);
  bool isLastBlock() const { return offset_ >= file_.size; }

  const LevelFile& file_;
  bool isWithin_ = false;     // a record of which more parts must follow
  std::uint64_t offset_ = 0;  // in the file, of what is not fetched yet
  std::string fetched_;       // whole blocks, but for the last
  std::string_view block_;    // the rest of the current block
  std::size_t position_ = 0;  // in what is fetched, of the next block
};

/// Appends one record to a file's bytes.
void appendLevelRecord(std::string& file, std::string_view record);

}  // namespace tidewell
