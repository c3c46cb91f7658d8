#include "Worker/cells/CellMain.h"

#include <unistd.h>

#include <new>

#include "Platform/Linux/cells/CellDoor.h"
#include "Platform/Linux/cells/CellVoice.h"
#include "Worker/cells/CellWork.h"

namespace linux_ = platform::linux_;

void tidewell::cellMain() {
  tidewell::prepareCellWork();
  const linux_::CellDoor door = linux_::CellDoor::close();
  linux_::CellVoice voice(linux_::kCellDescriptor);
  if (!voice.say(door.greeting())) ::_exit(1);
  const auto ask = [&voice](std::string_view message) { return voice.say(message) ? voice.hear() : std::nullopt; };
  try {
    while (const auto request = voice.hear()) {
      const auto answer = tidewell::cellAnswer(*request, ask);
      if (!answer || !voice.say(*answer)) ::_exit(1);
    }
  } catch (const std::bad_alloc&) {
    ::_exit(1);  // what is at the end of the socket means "could not be read"
  }
  ::_exit(0);  // nothing is to be done at exit that the door would not allow
}
