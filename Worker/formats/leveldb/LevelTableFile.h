// The file of a table: where its blocks lie, and their bytes. Read-only.
//
// Every length in it is checked before anything is allocated, and every block against its checksum. LevelDB's own
// reader is built with assertions that files can break: one flipped bit in a table is enough to abort the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/formats/leveldb/LevelBlock.h"
#include "Worker/formats/leveldb/LevelBlockPieces.h"
#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelFormat.h"
#include "Worker/formats/leveldb/SnappyPieces.h"

namespace tidewell {

/// Where a block lies in its file, in bytes, as far as the file can be trusted.
struct LevelBlockPlace {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
};

class LevelTableFile {
 public:
  /// Nothing is read before the first call. The table takes the first `size` bytes of the file, which must outlive the
  /// object. `window` bytes are read at once.
  LevelTableFile(const LevelFile& file, std::uint64_t size, std::size_t window)
      : file_(file), size_(size), window_(window) {}

  /// Where the blocks with the entries are, in their order. `isCut` is set when the index is damaged behind these. The
  /// keys in the index, one for each block, take no memory.
  LevelCondition blocks(std::vector<LevelBlockPlace>& places, bool& isCut);

  /// Reads a block of at most kLevelMaximalBlock bytes.
  LevelCondition readBlock(LevelBlockPlace place, LevelBlock& block);

  /// Passes the entries of a block of any size to the visitor. Those before damage have been visited.
  LevelCondition visitBlock(LevelBlockPlace place, const LevelEntryVisitor& visitor);

  /// Forgets what was read.
  void close() { fetched_ = {}; }

  std::size_t memory() const { return fetched_.capacity(); }

 private:
  LevelCondition indexPlace(LevelBlockPlace& index);
  bool isInFile(LevelBlockPlace place) const;
  LevelCondition forEachPiece(LevelBlockPlace place, const SnappyPieces::Sink& use);
  LevelCondition fetch(std::uint64_t offset, std::size_t count, std::string_view& bytes);

  const LevelFile& file_;
  const std::uint64_t size_;
  const std::size_t window_;
  std::string fetched_;
  std::uint64_t fetchedFrom_ = 0;
};

}  // namespace tidewell
