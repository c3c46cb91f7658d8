// Gives back memory that an idle process does not need.
#pragma once

namespace platform::linux_ {

/// Gives back the free parts of the heap, and lets go of the pages of programs and libraries: they come back from the
/// page cache as soon as they are needed again. Any thread.
void releaseIdleMemory();

}  // namespace platform::linux_
