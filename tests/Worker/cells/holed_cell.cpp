// The cell's program with a hole in every reader: bytes that hold "HOLE:DEED ARGUMENT;" are obeyed, all others are
// read.

#include <unistd.h>

#include "Platform/Linux/cells/CellDoor.h"
#include "Platform/Linux/cells/CellVoice.h"
#include "Worker/cells/CellWork.h"
#include "tests/support/CellDeeds.h"

namespace linux_ = platform::linux_;

/// What comes of the deed in these bytes. Absent when there is none in them.
static std::optional<std::optional<std::string>> deedIn(const std::string& bytes) {
  constexpr std::string_view kHole = "HOLE:";
  const std::size_t hole = bytes.find(kHole);
  if (hole == std::string::npos) return std::nullopt;
  const std::size_t begin = hole + kHole.size();
  return testing_support::doDeed(bytes.substr(begin, bytes.find(';', begin) - begin));
}

int main() {
  testing_support::prepareDeeds();
  tidewell::prepareCellWork();
  const linux_::CellDoor door = linux_::CellDoor::close();
  linux_::CellVoice voice(linux_::kCellDescriptor);
  voice.say(door.greeting());
  // Bytes that were asked for are obeyed as well, and what came of it is said instead of the next word.
  const auto ask = [&voice](std::string_view message) -> std::optional<std::string> {
    auto heard = voice.say(message) ? voice.hear() : std::nullopt;
    const auto done = heard ? deedIn(*heard) : std::nullopt;
    if (!done) return heard;
    if (*done) voice.say(**done);
    ::_exit(0);
  };
  while (const auto request = voice.hear()) {
    const auto done = deedIn(*request);
    const auto told = done ? *done : tidewell::cellAnswer(*request, ask);
    if (!told || !voice.say(*told)) break;
  }
  ::_exit(0);
}
