// Questions in the terminal.
#pragma once

#include <iosfwd>
#include <string>

namespace tidewell {

enum class Answer { kNo, kYes, kNever };

/// Shows what can be answered in the person's language, and reads a line; anything but yes and never is no, and so is
/// the end of the input. The English words count in any language. In a terminal that takes a second, and what was typed
/// before is dropped: it was not meant for a question that nobody can have read.
Answer answerInTerminal(std::ostream& output, bool offersNever = false);

/// Whether the person types what is read.
bool hasTerminal();

}  // namespace tidewell
