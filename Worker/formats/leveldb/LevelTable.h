// A table of a LevelDB database, read from front to back, one block at a time.
//
// Every length in it is checked before anything is allocated, and every block against its checksum. LevelDB's own
// reader is built with assertions that files can break: one flipped bit in a table is enough to abort the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Worker/formats/leveldb/LevelRun.h"

namespace tidewell {

/// A block of entries. Each key is stored without the beginning that it shares with the key before.
class LevelBlock {
 public:
  /// Takes the bytes of a block.
  LevelCondition assign(std::string bytes);

  /// Moves to the next entry, or to the end.
  LevelCondition next();
  bool atEnd() const { return atEnd_; }
  const std::string& key() const { return key_; }
  std::string_view value() const { return value_; }
  std::size_t memory() const { return bytes_.capacity() + key_.capacity(); }

 private:
  std::string bytes_;
  std::size_t position_ = 0;
  std::size_t end_ = 0;
  bool atEnd_ = true;
  std::string key_;
  std::string_view value_;
};

class LevelTable : public LevelRun {
 public:
  /// Nothing is read before the first next(). The table takes the first `size` bytes of the file, which must outlive
  /// the object. No key comes before `smallest`. `window` bytes are read at once.
  LevelTable(const LevelFile& file, std::uint64_t size, std::string smallest, std::size_t window)
      : file_(file), size_(size), window_(window), smallest_(std::move(smallest)) {}

  LevelCondition next() override;
  bool atEnd() const override { return state_ == State::kAtEnd; }
  std::string_view key() const override { return smallest_.empty() ? block_.key() : smallest_; }
  std::string_view value() const override { return block_.value(); }
  std::size_t memory() const override;

 private:
  enum class State { kClosed, kOpen, kAtEnd };

  LevelCondition open();
  LevelCondition nextInBlock();
  LevelCondition turnToBlock();
  void readHandles(LevelBlock& index);
  LevelCondition readBlock(std::string_view handle, std::size_t largest, LevelBlock& block);
  LevelCondition fetch(std::uint64_t offset, std::size_t count, std::string_view& bytes);
  void close();

  const LevelFile& file_;
  const std::uint64_t size_;
  const std::size_t window_;
  std::string smallest_;  // until a key was read
  State state_ = State::kClosed;
  std::vector<std::string> handles_;  // of the blocks: of the index nothing else is needed, least of all its keys
  std::size_t nextHandle_ = 0;
  bool isIndexDamaged_ = false;  // behind these
  LevelBlock block_;
  std::string previous_;  // key
  std::string fetched_;
  std::uint64_t fetchedFrom_ = 0;
};

}  // namespace tidewell
