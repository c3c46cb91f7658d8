#include "MainApplication/command/TerminalQuestion.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <initializer_list>
#include <iostream>
#include <string>
#include <thread>

#include "MainApplication/command/Texts.h"

namespace tidewell {
namespace {

constexpr std::chrono::seconds kTimeToRead{1};

}  // namespace

bool hasTerminal() {
  return ::isatty(STDIN_FILENO) != 0;
}

Answer answerInTerminal(std::ostream& output, bool offersNever) {
  output << std::flush;
  if (hasTerminal()) {
    std::this_thread::sleep_for(kTimeToRead);
    ::tcflush(STDIN_FILENO, TCIFLUSH);  // can't fail in a terminal of its own
  }
  const std::string never = localized("never");
  const std::string choices = localized("y/N");
  output << " [" << choices << (offersNever ? "/" + never : "") << "] " << std::flush;
  std::string line;
  std::getline(std::cin, line);
  std::transform(line.begin(), line.end(), line.begin(), [](unsigned char c) { return std::tolower(c); });
  const auto isOneOf = [&line](const std::initializer_list<std::string> words) {
    return std::find(words.begin(), words.end(), line) != words.end();
  };
  if (isOneOf({"y", "yes", choices.substr(0, choices.find('/')), localized("yes")})) return Answer::kYes;
  return offersNever && isOneOf({"never", never}) ? Answer::kNever : Answer::kNo;
}

}  // namespace tidewell
