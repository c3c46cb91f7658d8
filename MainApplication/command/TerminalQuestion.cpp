#include "MainApplication/command/TerminalQuestion.h"

#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <iostream>
#include <thread>

namespace tidewell {
namespace {

constexpr std::chrono::seconds kTimeToRead{1};

}  // namespace

bool hasTerminal() {
  return ::isatty(STDIN_FILENO) != 0;
}

std::string answerInTerminal(std::ostream& output, const char* choices) {
  output << std::flush;
  if (hasTerminal()) {
    std::this_thread::sleep_for(kTimeToRead);
    ::tcflush(STDIN_FILENO, TCIFLUSH);  // can't fail in a terminal of its own
  }
  output << " [" << choices << "] " << std::flush;
  std::string line;
  std::getline(std::cin, line);
  std::transform(line.begin(), line.end(), line.begin(), [](unsigned char c) { return std::tolower(c); });
  return line;
}

bool isAgreedInTerminal(std::ostream& output) {
  const std::string answer = answerInTerminal(output, "y/N");
  return answer == "y" || answer == "yes";
}

}  // namespace tidewell
