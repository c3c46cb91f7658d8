// The cell's program with a hole in every reader: bytes that hold "HOLE:DEED ARGUMENT;" are obeyed, all others are
// read.

#include <unistd.h>

#include "Platform/Linux/cells/CellDoor.h"
#include "Platform/Linux/cells/CellVoice.h"
#include "Worker/cells/CellWork.h"
#include "tests/support/CellDeeds.h"

namespace linux_ = platform::linux_;

static std::optional<std::string> answer(const std::string& request) {
  constexpr std::string_view kHole = "HOLE:";
  const std::size_t hole = request.find(kHole);
  if (hole == std::string::npos) return tidewell::cellAnswer(request);
  const std::size_t begin = hole + kHole.size();
  return testing_support::doDeed(request.substr(begin, request.find(';', begin) - begin));
}

int main() {
  testing_support::prepareDeeds();
  const linux_::CellDoor door = linux_::CellDoor::close();
  linux_::CellVoice voice(linux_::kCellDescriptor);
  voice.say(door.greeting());
  while (const auto request = voice.hear()) {
    const auto told = answer(*request);
    if (!told || !voice.say(*told)) break;
  }
  ::_exit(0);
}
