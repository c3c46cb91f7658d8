// A table of a LevelDB database, read from front to back, one block at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Worker/formats/leveldb/LevelBlock.h"
#include "Worker/formats/leveldb/LevelRun.h"
#include "Worker/formats/leveldb/LevelTableFile.h"

namespace tidewell {

class LevelTable : public LevelRun {
 public:
  /// As LevelTableFile. No key comes before `smallest`.
  LevelTable(const LevelFile& file, std::uint64_t size, std::string smallest, std::size_t window)
      : file_(file, size, window), smallest_(std::move(smallest)) {}

  LevelCondition next() override;
  bool atEnd() const override { return state_ == State::kAtEnd; }
  std::string_view key() const override { return smallest_.empty() ? block_.key() : smallest_; }
  std::string_view value() const override { return block_.value(); }
  std::size_t memory() const override;

 private:
  enum class State { kClosed, kOpen, kAtEnd };

  LevelCondition nextInBlock();
  LevelCondition turnToBlock();
  void close();

  LevelTableFile file_;
  std::string smallest_;  // until a key was read
  State state_ = State::kClosed;
  std::vector<LevelBlockPlace> places_;
  std::size_t nextPlace_ = 0;
  bool isIndexDamaged_ = false;  // behind these
  LevelBlock block_;
  std::string previous_;  // key
};

}  // namespace tidewell
