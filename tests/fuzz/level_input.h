// The input of the LevelDB target: a series of files, for each its name, its form, its size (2 bytes) and its bytes.
// Those of a log are a series of records, each behind its size; those of a table, of blocks, each behind its kind of
// compression and its size.
#pragma once

#include <cstdint>
#include <string_view>

namespace fuzz {

enum class LevelForm { kRaw, kRecords, kTable };
inline constexpr int kLevelForms = 3;

/// The input, read piece by piece. At its end every piece is 0 or empty.
class LevelInput {
 public:
  explicit LevelInput(std::string_view bytes) : rest_(bytes) {}

  bool atEnd() const { return rest_.empty(); }
  std::uint8_t byte() { return atEnd() ? std::uint8_t{0} : static_cast<std::uint8_t>(take(1).front()); }
  LevelForm form() { return static_cast<LevelForm>(byte() % kLevelForms); }
  /// The piece whose size is in the next two bytes, or less where the input ends.
  std::string_view part() {
    const std::size_t low = byte();
    return take(low + byte() * std::size_t{256});
  }

 private:
  std::string_view take(std::size_t size) {
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view rest_;
};

}  // namespace fuzz
