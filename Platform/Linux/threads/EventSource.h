// An event source of the run loop that is removed when its owner is destroyed.
#pragma once

#include <systemd/sd-event.h>

#include <memory>

namespace platform::linux_ {

struct EventSourceUnref {
  void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};
using EventSource = std::unique_ptr<sd_event_source, EventSourceUnref>;

}  // namespace platform::linux_
