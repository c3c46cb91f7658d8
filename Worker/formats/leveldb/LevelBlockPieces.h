// The entries of a block of a table, read in pieces, for blocks that may be larger than memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace tidewell {

/// What is called for each entry: `key` once, with at most the first `longestKey` bytes, and then `value` until its
/// last piece, which may be empty.
struct LevelEntryVisitor {
  std::size_t longestKey = 0;
  std::function<void(std::string_view beginning)> key;
  std::function<void(std::string_view piece, bool isLast)> value;
};

/// Where the entries of a block end: behind them stand the offsets of those with whole keys, and their number.
class LevelBlockEnd {
 public:
  void add(std::string_view bytes);

  /// False when the bytes are no block.
  bool find(std::uint64_t& end) const;

 private:
  std::uint64_t size_ = 0;
  std::string last_;  // bytes
};

class LevelBlockPieces {
 public:
  /// Takes the first `end` bytes of a block. The visitor must outlive the object.
  LevelBlockPieces(std::uint64_t end, const LevelEntryVisitor& visitor) : left_(end), visitor_(visitor) {}

  /// Takes the next bytes, in pieces of any size; ignores those behind the end, and all after the first that are not
  /// what LevelDB wrote.
  void add(std::string_view bytes);

  /// Whether the bytes so far were all entries, and whole.
  bool isWhole() const { return !isBroken_ && left_ == 0 && part_ == Part::kHead && head_.empty(); }

 private:
  enum class Part { kHead, kKey, kValue };

  void addToHead(std::string_view& bytes);
  void addToKey(std::string_view& bytes);
  void addToValue(std::string_view& bytes);
  void endKey();

  std::uint64_t left_;
  const LevelEntryVisitor& visitor_;
  Part part_ = Part::kHead;
  bool isBroken_ = false;
  std::string head_;           // three sizes
  std::string key_;            // its beginning
  std::uint64_t keySize_ = 0;  // of the whole key
  std::uint64_t keyLeft_ = 0;
  std::uint64_t valueLeft_ = 0;
};

}  // namespace tidewell
