// The cell's program with a hole in every reader: bytes that hold "HOLE:DEED ARGUMENT;" are obeyed, all others are
// read.

#include <unistd.h>

#include <string>

#include "Platform/Linux/cells/CellLoop.h"
#include "Worker/cells/CellWork.h"
#include "tests/support/CellDeeds.h"

namespace {

using platform::linux_::CellLoop;

/// What comes of the deed in these bytes. Absent when there is none in them.
std::optional<std::optional<std::string>> deedIn(std::string_view bytes) {
  constexpr std::string_view kHole = "HOLE:";
  const std::size_t hole = bytes.find(kHole);
  if (hole == std::string::npos) return std::nullopt;
  const std::size_t begin = hole + kHole.size();
  return testing_support::doDeed(std::string(bytes.substr(begin, bytes.find(';', begin) - begin)));
}

std::optional<std::string> answerTo(std::string_view request, const CellLoop::Ask& ask) {
  if (const auto done = deedIn(request)) return *done;
  // Bytes that were asked for are obeyed as well, and what came of it is said instead of the next word.
  return tidewell::cellAnswer(request, [&ask](std::string_view message) {
    auto heard = ask(message);
    const auto done = heard ? deedIn(*heard) : std::nullopt;
    if (!done) return heard;
    if (*done) ask(**done);
    ::_exit(0);
  });
}

}  // namespace

int main() {
  CellLoop{[] {
             testing_support::prepareDeeds();
             tidewell::prepareCellWork();
           },
           answerTo}
      .run();
}
