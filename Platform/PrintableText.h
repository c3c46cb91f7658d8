// Text from outside (names of files, of profiles, of programs) made safe to show in one line.
#pragma once

#include <string>
#include <string_view>

namespace platform {

/// The text with everything that could move a cursor, end a line, or show text in another order written as an escape:
/// "\n", "\x1b" for other control characters and for bytes that are no UTF-8, "\u202e" for the controls beyond ASCII
/// (C1, line and paragraph separators, bidirectional controls). All else stays as it is.
std::string printable(std::string_view text);

}  // namespace platform
