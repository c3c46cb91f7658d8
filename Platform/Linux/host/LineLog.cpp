#include "Platform/Linux/host/LineLog.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <sys/stat.h>
#include <sys/uio.h>
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

/// False when the journal could not take the entry.
bool sendToJournal(int priority, std::string_view text, const std::vector<LogField>& fields) {
  std::vector<std::string> entries{"MESSAGE=" + printable(text), "PRIORITY=" + std::to_string(priority)};
  for (const LogField& field : fields) entries.push_back(field.name + "=" + printable(field.value));
  std::vector<iovec> parts;
  for (std::string& entry : entries) parts.push_back({entry.data(), entry.size()});
  return ::sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) >= 0;
}

}  // namespace

LineLog::LineLog() : toJournal_(standardErrorIsJournal()) {}

void LineLog::log(std::string_view text, const std::vector<LogField>& fields) {
  if (toJournal_ && sendToJournal(LOG_NOTICE, text, fields)) return;
  std::string line = printable(text) + '\n';
  // One write for a line, so that lines of several threads don't mix. A failure can't be reported anywhere.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

void LineLog::record(std::string_view text, const std::vector<LogField>& fields) {
  if (toJournal_) sendToJournal(LOG_INFO, text, fields);
}

}  // namespace platform::linux_
