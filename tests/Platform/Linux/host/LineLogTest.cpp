// The log in the journal: a socket stands for the journal's own, in mounts of the test's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>

#include "Platform/Linux/host/LineLog.h"
#include "tests/support/OwnMounts.h"

namespace {

using platform::linux_::LineLog;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;

constexpr char kFolder[] = "/run/systemd/journal";

/// Listens where the journal does.
class Journal {
 public:
  Journal() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/run/systemd/journal/socket");
    ::mkdir("/run/systemd", 0755);
    ::mkdir(kFolder, 0755);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ~Journal() { ::close(socket_); }
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  /// The lines of the next entry; none when there is none.
  std::set<std::string> entry() const {
    char bytes[4096];
    const ssize_t size = ::recv(socket_, bytes, sizeof bytes, 0);
    std::istringstream text(std::string(bytes, size > 0 ? static_cast<std::size_t>(size) : 0));
    std::set<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.insert(line);
    return lines;
  }

 private:
  const int socket_;
};

/// Runs the task with a journal; `isConnected`: whether standard error is connected to it.
void withJournal(bool isConnected, const std::function<void(const Journal& journal, LineLog& log)>& task) {
  ASSERT_TRUE(testing_support::withOwnMounts([&] {
    ASSERT_TRUE(testing_support::mountMemory("/run", ""));
    const Journal journal;
    struct stat status {};
    ASSERT_EQ(::fstat(STDERR_FILENO, &status), 0);
    const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino + !isConnected);
    ::setenv("JOURNAL_STREAM", stream.c_str(), 1);
    LineLog log;
    ::unsetenv("JOURNAL_STREAM");
    task(journal, log);
  }));
}

TEST(LineLog, writesTheFieldsOfAnEntryToTheJournal) {
  withJournal(true, [](const Journal& journal, LineLog& log) {
    log.log("left", {{"TIDEWELL_LEFT", "in-use"}, {"TIDEWELL_STORE", "Cookies"}});
    EXPECT_THAT(journal.entry(),
                IsSupersetOf({"MESSAGE=left", "PRIORITY=5", "TIDEWELL_LEFT=in-use", "TIDEWELL_STORE=Cookies"}));
    log.record("cleaned", {{"TIDEWELL_ITEMS", "21"}});
    EXPECT_THAT(journal.entry(), IsSupersetOf({"MESSAGE=cleaned", "PRIORITY=6", "TIDEWELL_ITEMS=21"}));
    log.log("plain");
    EXPECT_THAT(journal.entry(), IsSupersetOf({"MESSAGE=plain", "PRIORITY=5"}));
    EXPECT_THAT(journal.entry(), IsEmpty());
  });
}

TEST(LineLog, letsNoNameMakeAFieldOfItsOwn) {
  withJournal(true, [](const Journal& journal, LineLog& log) {
    log.log("a\nMESSAGE=b", {{"TIDEWELL_STORE", "c\nTIDEWELL_LEFT=d"}});
    EXPECT_THAT(journal.entry(), IsSupersetOf({"MESSAGE=a\\nMESSAGE=b", "TIDEWELL_STORE=c\\nTIDEWELL_LEFT=d"}));
  });
}

TEST(LineLog, writesLinesWhereThereIsNoJournalAndNoRecords) {
  withJournal(false, [](const Journal& journal, LineLog& log) {
    ::testing::internal::CaptureStderr();
    log.log("left", {{"TIDEWELL_LEFT", "in-use"}});
    log.record("cleaned", {{"TIDEWELL_ITEMS", "21"}});
    log.log("two\nlines");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "left\ntwo\\nlines\n");
    EXPECT_THAT(journal.entry(), IsEmpty());
  });
}

}  // namespace
