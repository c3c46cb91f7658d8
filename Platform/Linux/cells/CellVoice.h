// The cell's own end of its conversation: messages, each with its length before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::linux_ {

/// Bytes of the length, in the machine's own order: both ends are on one machine.
inline constexpr std::size_t kCellLength = sizeof(std::uint64_t);

class CellVoice {
 public:
  explicit CellVoice(int descriptor) : descriptor_(descriptor) {}

  /// Waits for the next message. Absent when there is nobody any more to say one.
  std::optional<std::string> hear();

  /// False when nobody hears it any more.
  bool say(std::string_view message);

 private:
  bool read(char* bytes, std::size_t count);
  bool write(const char* bytes, std::size_t count);

  const int descriptor_;
};

}  // namespace platform::linux_
