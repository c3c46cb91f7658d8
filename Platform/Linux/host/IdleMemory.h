// Releases memory that an idle process does not need.
#pragma once

namespace platform::linux_ {

/// Releases the free parts of the heap, and the pages of programs and libraries, which are read back from the page
/// cache when they are needed again. Any thread.
void releaseIdleMemory();

}  // namespace platform::linux_
