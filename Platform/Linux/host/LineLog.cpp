#include "Platform/Linux/host/LineLog.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace platform::linux_ {
namespace {

/// The service manager names the stream that it connected to the journal: "device:inode".
bool standardErrorIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  unsigned long device = 0;
  unsigned long inode = 0;
  struct stat status {};
  return stream != nullptr && std::sscanf(stream, "%lu:%lu", &device, &inode) == 2 &&
         ::fstat(STDERR_FILENO, &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

std::string asOneLine(std::string_view text) {
  constexpr char kHexDigits[] = "0123456789abcdef";
  std::string line;
  line.reserve(text.size() + 1);
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '\n') {
      line += "\\n";
    } else if (byte < 0x20 || byte == 0x7f) {
      line += "\\x";
      line += kHexDigits[byte >> 4];
      line += kHexDigits[byte & 15];
    } else {
      line += character;
    }
  }
  return line;
}

}  // namespace

LineLog::LineLog() : toJournal_(standardErrorIsJournal()) {}

void LineLog::log(std::string_view text) {
  std::string line = asOneLine(text);
  if (toJournal_ && sd_journal_print(LOG_NOTICE, "%s", line.c_str()) >= 0) return;
  line += '\n';
  // One write for a line, so that lines of several threads don't mix. A failure can't be reported anywhere.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace platform::linux_
