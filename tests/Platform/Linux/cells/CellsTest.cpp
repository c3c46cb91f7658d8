#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Platform/Linux/cells/LinuxCells.h"
#include "tests/support/Fakes.h"
#include "tests/support/KernelWithout.h"
#include "tests/support/MemoryLimit.h"
#include "tests/support/ScratchFolder.h"

namespace {

namespace fs = std::filesystem;

using platform::linux_::FileDescriptor;
using platform::linux_::LinuxCells;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing_support::FakeLog;
using testing_support::Lacking;
using testing_support::refuse;
using testing_support::ScratchFolder;
using testing_support::withKernel;

constexpr std::size_t kMost = std::size_t{1} << 20;
constexpr std::chrono::milliseconds kShort{300};

/// Open before the test program hides the folder that it lies in.
const FileDescriptor holeCell(::open(TIDEWELL_HOLE_CELL, O_PATH | O_CLOEXEC));

std::unique_ptr<platform::Cell> opened(LinuxCells& cells) {
  auto cell = cells.open();
  return std::move(*cell);
}

class CellsTest : public ::testing::TestWithParam<Lacking> {
 protected:
  static FileDescriptor program() { return FileDescriptor(::fcntl(holeCell.get(), F_DUPFD_CLOEXEC, 3)); }

  /// What a cell answers that does this; "ended" when it does not live to tell.
  std::string doneBy(LinuxCells& cells, const std::string& deed) {
    auto cell = cells.open();
    if (!cell || (*cell)->say(deed)) return "not opened";
    const auto answer = (*cell)->hear(kMost);
    if (answer) return *answer;
    return answer.error() == std::errc::broken_pipe ? "ended" : answer.error().message();
  }
  std::string doneBy(const std::string& deed, std::chrono::milliseconds patience = LinuxCells::kPatience) {
    std::string result;
    withKernel(lacking(), [&] {
      LinuxCells cells(program(), log, patience);
      result = doneBy(cells, deed);
    });
    return result;
  }

  virtual Lacking lacking() const { return GetParam(); }
  bool isFiltered() const { return lacking() != Lacking::kSeccomp; }
  /// What a cell says of a deed that it does not live to do, or that Landlock or a limit has kept it from.
  ::testing::Matcher<std::string> isRefused() const {
    if (isFiltered()) return "ended";
    return AnyOf("Permission denied", "Too many open files");
  }

  std::string contents(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(folder.path(name)).rdbuf();
    return text.str();
  }

  ScratchFolder folder;
  FakeLog log;
};

class Cells : public CellsTest {
 protected:
  Lacking lacking() const override { return Lacking::kNothing; }
};
class CellsWithAHole : public CellsTest {};

std::string nameOf(const ::testing::TestParamInfo<Lacking>& tested) {
  static constexpr const char* kNames[] = {"OnThisKernel", "WithoutLandlock", "WithoutSeccomp"};
  return kNames[static_cast<int>(tested.param)];
}

INSTANTIATE_TEST_SUITE_P(CanDoNothing, CellsWithAHole,
                         ::testing::Values(Lacking::kNothing, Lacking::kLandlock, Lacking::kSeccomp), nameOf);

TEST_F(Cells, answer) {
  EXPECT_EQ(doneBy("say hello"), "hello");
}

TEST_F(Cells, answerOneMessageAfterTheOther) {
  LinuxCells cells(program(), log);
  const auto cell = opened(cells);
  for (const char* word : {"one", "two", "three"}) {
    ASSERT_FALSE(cell->say(std::string("say ") + word));
    EXPECT_EQ(cell->hear(kMost).value(), word);
  }
}

TEST_F(Cells, hearAndSayWhatIsLargerThanASocketHolds) {
  const std::string large(8 << 20, 'x');
  LinuxCells cells(program(), log);
  const auto cell = opened(cells);
  ASSERT_FALSE(cell->say("say " + large));
  EXPECT_TRUE(cell->hear(large.size()).value() == large);
}

TEST_F(Cells, areNotHeardBeyondWhatIsAskedFor) {
  LinuxCells cells(program(), log);
  const auto cell = opened(cells);
  ASSERT_FALSE(cell->say("say 12345"));
  EXPECT_EQ(cell->hear(4).error(), std::errc::message_size);
}

TEST_F(Cells, thatAnnounceAnythingTakeNoMemory) {
  EXPECT_EQ(doneBy("announce"), std::make_error_code(std::errc::message_size).message());
}

TEST_F(Cells, thatEndAreNotWaitedFor) {
  EXPECT_EQ(doneBy("end"), "ended");
}

TEST_F(Cells, thatDoNotListenAreNotTalkedToForEver) {
  LinuxCells cells(program(), log, kShort);
  const auto cell = opened(cells);
  ASSERT_FALSE(cell->say("loop"));
  EXPECT_EQ(cell->say(std::string(8 << 20, 'x')), std::errc::timed_out);
}

TEST_F(Cells, areGoneWithTheirConversation) {
  doneBy("say hello");
  doneBy("loop", kShort);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST_F(Cells, thatWereStartedAheadAnswerLikeOthersAndEndWhenNoneIsWanted) {
  LinuxCells cells(program(), log);
  auto ahead = cells.startAhead();
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);  // there is none yet
  for (int count = 0; count < 5; ++count) EXPECT_EQ(doneBy(cells, "say hello"), "hello");
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), 0);  // there is one
  ahead.reset();
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(doneBy(cells, "say hello"), "hello");
}

TEST_F(Cells, canNotBeOpenedWithoutTheirProgram) {
  LinuxCells cells(FileDescriptor(), log);
  EXPECT_FALSE(cells.open());
}

TEST_F(Cells, mayTakeNoMoreThanSoMuchMemory) {
  if (!testing_support::kCanLimitMemory) GTEST_SKIP() << "a sanitizer takes more than any limit";
  EXPECT_LT(std::stoul(doneBy("memory")), 2048U);
}

TEST_F(Cells, areNotComplainedAboutWhereTheyAreConfined) {
  doneBy("say hello");
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Cells, areComplainedAboutOnceWhereTheKernelHasNoMeansToConfineThem) {
  withKernel(Lacking::kLandlock, [this] {
    refuse({SCMP_SYS(seccomp)});
    LinuxCells cells(program(), log);
    EXPECT_EQ(doneBy(cells, "say hello"), "hello");
    EXPECT_EQ(doneBy(cells, "say hello"), "hello");
  });
  EXPECT_THAT(log.lines(), ElementsAre(HasSubstr("not confined")));
}

TEST_P(CellsWithAHole, makeNoFile) {
  EXPECT_THAT(doneBy("make " + folder.path("new")), isRefused());
  EXPECT_FALSE(fs::exists(folder.path("new")));
}

TEST_P(CellsWithAHole, emptyNoFile) {
  folder.file("mine", "thesis");
  EXPECT_THAT(doneBy("make " + folder.path("mine")), isRefused());
  EXPECT_EQ(contents("mine"), "thesis");
}

TEST_P(CellsWithAHole, readNoFile) {
  folder.file("mine", "thesis");
  EXPECT_THAT(doneBy("read " + folder.path("mine")), isRefused());
}

TEST_P(CellsWithAHole, removeNoFile) {
  folder.file("mine", "thesis");
  EXPECT_THAT(doneBy("remove " + folder.path("mine")), isRefused());
  EXPECT_EQ(contents("mine"), "thesis");
}

TEST_P(CellsWithAHole, startNoProgram) {
  EXPECT_THAT(doneBy("exec : >" + folder.path("new")), isRefused());
  EXPECT_FALSE(fs::exists(folder.path("new")));
}

TEST_P(CellsWithAHole, startNoProcessThatCouldDoAnything) {
  doneBy("fork " + folder.path("new"));
  EXPECT_FALSE(fs::exists(folder.path("new")));
}

TEST_P(CellsWithAHole, connectToNobody) {
  const FileDescriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(listener.get(), 1), 0);
  socklen_t size = sizeof address;
  ASSERT_EQ(::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  EXPECT_THAT(doneBy("connect " + std::to_string(ntohs(address.sin_port))),
              AnyOf("ended", "Permission denied", "Bad file descriptor"));
  pollfd waiting{listener.get(), POLLIN, 0};
  EXPECT_EQ(::poll(&waiting, 1, 0), 0);
}

TEST_P(CellsWithAHole, endNobodyElse) {
  const std::string self = std::to_string(::getpid());
  EXPECT_EQ(doneBy("kill " + self), isFiltered() ? "ended" : "Operation not permitted");
}

TEST_P(CellsWithAHole, haveNoOtherDescriptorToWriteTo) {
  folder.file("mine", "thesis");
  const FileDescriptor inherited(::open(folder.path("mine").c_str(), O_WRONLY));  // not to be closed by exec
  EXPECT_THAT(doneBy("write damage"), AnyOf("ended", "none"));
  EXPECT_EQ(contents("mine"), "thesis");
}

TEST_P(CellsWithAHole, thatLoopAreEndedInTime) {
  EXPECT_EQ(doneBy("loop", kShort), std::make_error_code(std::errc::timed_out).message());
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(Cells, canMakeNoCode) {
  EXPECT_EQ(doneBy("code"), "ended");
}

}  // namespace
