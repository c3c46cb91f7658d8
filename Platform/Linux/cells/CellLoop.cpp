#include "Platform/Linux/cells/CellLoop.h"

#include <unistd.h>

#include <new>

#include "Platform/Linux/cells/CellDoor.h"
#include "Platform/Linux/cells/CellVoice.h"

namespace platform::linux_ {

void CellLoop::run() const {
  prepare();
  const CellDoor door = CellDoor::close();
  CellVoice voice(kCellDescriptor);
  if (!voice.say(door.greeting())) ::_exit(1);
  const Ask ask = [&voice](std::string_view message) { return voice.say(message) ? voice.hear() : std::nullopt; };
  try {
    while (const auto message = voice.hear()) {
      const auto told = answer(*message, ask);
      if (!told || !voice.say(*told)) ::_exit(1);
    }
  } catch (const std::bad_alloc&) {
    ::_exit(1);  // what is at the end of the socket means that there is no answer
  }
  ::_exit(0);  // nothing is to be done at exit that the door would not allow
}

}  // namespace platform::linux_
