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
#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelFormat.h"

namespace tidewell {

class LevelTableFile {
 public:
  /// Nothing is read before the first call. The table takes the first `size` bytes of the file, which must outlive the
  /// object. `window` bytes are read at once.
  LevelTableFile(const LevelFile& file, std::uint64_t size, std::size_t window)
      : file_(file), size_(size), window_(window) {}

  /// Where the blocks with the entries are, in their order, as handles for readBlock(). `isCut` is set when the index
  /// is damaged behind these.
  LevelCondition blocks(std::vector<std::string>& handles, bool& isCut);

  /// Reads the block whose offset and size are in `handle`.
  LevelCondition readBlock(std::string_view handle, LevelBlock& block);

  /// Forgets what was read.
  void close() { fetched_ = {}; }

  std::size_t memory() const { return fetched_.capacity(); }

 private:
  LevelCondition readBlock(std::string_view handle, std::size_t largest, LevelBlock& block);
  LevelCondition fetch(std::uint64_t offset, std::size_t count, std::string_view& bytes);

  const LevelFile& file_;
  const std::uint64_t size_;
  const std::size_t window_;
  std::string fetched_;
  std::uint64_t fetchedFrom_ = 0;
};

}  // namespace tidewell
