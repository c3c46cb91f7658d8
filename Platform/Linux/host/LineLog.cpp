#include "Platform/Linux/host/LineLog.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/stat.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Platform/PrintableText.h"

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

}  // namespace

LineLog::LineLog() : toJournal_(standardErrorIsJournal()) {}

void LineLog::log(std::string_view text) {
  std::string line = printable(text);
  if (toJournal_ && sd_journal_print(LOG_NOTICE, "%s", line.c_str()) >= 0) return;
  line += '\n';
  // One write for a line, so that lines of several threads don't mix. A failure can't be reported anywhere.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace platform::linux_
