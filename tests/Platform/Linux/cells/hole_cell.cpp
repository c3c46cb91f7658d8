// A cell with a hole: it does what its input says, and tells what came of it.

#include <unistd.h>

#include "Platform/Linux/cells/CellDoor.h"
#include "Platform/Linux/cells/CellVoice.h"
#include "tests/support/CellDeeds.h"

namespace linux_ = platform::linux_;

int main() {
  testing_support::prepareDeeds();
  const linux_::CellDoor door = linux_::CellDoor::close();
  linux_::CellVoice voice(linux_::kCellDescriptor);
  voice.say(door.greeting());
  while (const auto input = voice.hear()) {
    const auto told = testing_support::doDeed(*input);
    if (!told || !voice.say(*told)) break;
  }
  ::_exit(0);
}
