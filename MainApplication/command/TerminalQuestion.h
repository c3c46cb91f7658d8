// Questions in the terminal.
#pragma once

#include <iosfwd>
#include <string>

namespace tidewell {

/// Shows what can be answered, and returns the line that the person types then, in lower case; "" at the end of the
/// input. In a terminal that takes a second, and what was typed before is dropped: it was not meant for a question that
/// nobody can have read.
std::string answerInTerminal(std::ostream& output, const char* choices);

/// Whether that answer, to a question of yes or no, is yes.
bool isAgreedInTerminal(std::ostream& output);

/// Whether the person types what is read.
bool hasTerminal();

}  // namespace tidewell
