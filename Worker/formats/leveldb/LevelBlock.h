// A block of a table, as a whole in memory. Each key is stored without the beginning that it shares with the key
// before.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Worker/formats/leveldb/LevelFormat.h"

namespace tidewell {

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

}  // namespace tidewell
