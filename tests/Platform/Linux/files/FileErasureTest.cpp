// Erasing files and folders: what is overwritten, what is only removed, and what is not touched.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/HeldFile.h"
#include "tests/support/OwnMounts.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::Erasure;
using platform::FileURL;
using platform::Overwriting;
using platform::linux_::FileDescriptor;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using testing_support::HeldFile;
using testing_support::ScratchFolder;
using testing_support::SystemCalls;

constexpr char kMark[] = "MARKMARK";
constexpr std::size_t kMarkSize = 8;

std::string marks(std::size_t size) {
  std::string text;
  while (text.size() < size) text += kMark;
  text.resize(size);
  return text;
}

class Held : public HeldFile {
 public:
  using HeldFile::HeldFile;
  bool hasMarks(off_t from = 0, std::size_t count = 1 << 20) const { return holds(kMark, from, count); }
};

class FileErasure : public ::testing::TestWithParam<Overwriting> {
 protected:
  FileErasure() { scopes.openForProcess(FileURL(granted.path(), true)); }
  Erasure erase(const std::string& below, Overwriting overwriting = Overwriting::kThreePasses) {
    return files.eraseItem(granted.path(below), overwriting);
  }

  /// Grants among mounts of the test's own.
  void withOwnMounts(const std::function<void()>& task) {
    ASSERT_TRUE(testing_support::withOwnMounts([&] {
      scopes.openForProcess(FileURL(granted.path(), true));
      task();
    }));
  }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts")};
};

class EveryErasure : public FileErasure {};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutOverwriting, EveryErasure,
                         ::testing::Values(Overwriting::kNone, Overwriting::kThreePasses), [](const auto& tested) {
                           return tested.param == Overwriting::kNone ? "plain" : "overwriting";
                         });

TEST_F(FileErasure, overwritesEveryByteBeforeTheNameGoes) {
  for (const std::size_t size : {1UL, 1023UL, 4096UL, 262'144UL, 700'001UL}) {
    const Held held(granted.file("file", marks(size)));
    EXPECT_EQ(erase("file").removed, 1U);
    EXPECT_FALSE(granted.exists("file"));
    const std::string after = held.bytes();
    ASSERT_EQ(after.size(), size);
    EXPECT_FALSE(held.hasMarks());
    if (size < kMarkSize) continue;  // random bytes may be the same by chance
    EXPECT_NE(after.substr(size - kMarkSize), marks(size).substr(size - kMarkSize)) << size;
  }
}

TEST_F(FileErasure, lastWritesRandomBytes) {
  const Held held(granted.file("file", marks(4096)));
  const Held other(granted.file("other", marks(4096)));
  erase("file");
  erase("other");
  EXPECT_NE(held.bytes(), other.bytes());
  EXPECT_NE(held.bytes(), std::string(4096, '\x55'));
  EXPECT_NE(held.bytes(), std::string(4096, '\xAA'));
}

TEST_F(FileErasure, withoutOverwritingLeavesTheBytesToTheFileSystem) {
  const Held held(granted.file("file", marks(4096)));
  EXPECT_EQ(erase("file", Overwriting::kNone).removed, 1U);
  EXPECT_FALSE(granted.exists("file"));
  EXPECT_TRUE(held.hasMarks());
}

TEST_F(FileErasure, flushesEachFileOnceBeforeItGoes) {
  SystemCalls calls;
  const Held held(granted.file("tree/a", marks(5000)));
  const Held other(granted.file("tree/b", marks(5000)));
  EXPECT_TRUE(erase("tree").leftNothing());
  EXPECT_EQ(calls.flushed.size(), 2U);
}

TEST_F(FileErasure, flushesInTheOrderOfTheNames) {
  SystemCalls calls;
  std::vector<std::string> names;
  std::vector<ino_t> inodes;
  for (int file = 0; file < 50; ++file) {
    names.push_back(std::to_string(file));
    inodes.push_back(Held(granted.file("tree/" + names.back(), marks(5000))).status().st_ino);
  }
  EXPECT_EQ(files.eraseItems(granted.path("tree"), names, Overwriting::kThreePasses).removed, 50U);
  EXPECT_EQ(calls.flushed, inodes);
}

TEST_F(FileErasure, getsByWithFewDescriptors) {
  for (int file = 0; file < 60; ++file) granted.file("tree/" + std::to_string(file), marks(5000));
  const Held held(granted.path("tree/59"));
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const FileDescriptor highest(::open("/", O_PATH | O_CLOEXEC));
  const rlimit few{static_cast<rlim_t>(highest.get()) + 6, limit.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  const Erasure erasure = erase("tree");
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_TRUE(erasure.leftNothing());
  EXPECT_EQ(erasure.removed, 61U);
  EXPECT_FALSE(held.hasMarks());
}

TEST_P(EveryErasure, ofSeveralNamesTakesThemAndNoOthers) {
  for (const char* name : {"a", "b/inner", "c"}) granted.file(std::string("folder/") + name, marks(100));
  const Erasure erasure = files.eraseItems(granted.path("folder"), {"a", "b", "missing"}, GetParam());
  EXPECT_TRUE(erasure.leftNothing());
  EXPECT_EQ(erasure.removed, 3U);
  EXPECT_THAT(granted.tree(), ::testing::ElementsAre("folder/", ::testing::StartsWith("folder/c")));
}

TEST_P(EveryErasure, refusesNamesThatLeadElsewhere) {
  granted.file("folder/sub/file", "mine");
  granted.file("beside", "mine");
  const std::vector<std::string> names = {"", ".", "..", "../beside", "sub/file", "/", std::string("sub\0", 4)};
  const auto before = granted.tree();
  const Erasure erasure = files.eraseItems(granted.path("folder"), names, GetParam());
  EXPECT_EQ(erasure.failed, names.size());
  EXPECT_EQ(erasure.error, std::errc::invalid_argument);
  EXPECT_EQ(granted.tree(), before);
}

TEST_P(EveryErasure, ofNamesInNoFolderIsNoError) {
  EXPECT_TRUE(files.eraseItems(granted.path("missing"), {"a"}, GetParam()).leftNothing());
  EXPECT_EQ(files.eraseItems(elsewhere.path(), {"a"}, GetParam()).error, std::errc::operation_not_permitted);
}

TEST_F(FileErasure, leavesAFileThatCanNotBeFlushedAndTakesTheOthers) {
  SystemCalls calls;
  calls.failingFlush = 1;
  granted.file("tree/a", marks(5000));
  granted.file("tree/b", marks(5000));
  const Erasure erasure = erase("tree");
  EXPECT_EQ(erasure.notOverwritten, 1U);
  EXPECT_EQ(erasure.removed, 1U);
  EXPECT_EQ(erasure.error, std::errc::io_error);
  EXPECT_EQ(granted.tree("tree").size(), 1U);
}

TEST_P(EveryErasure, ofAFileWithAnotherNameTakesThisNameOnly) {
  const std::string thesis = elsewhere.file("thesis", marks(5000));
  granted.folder("Cache");
  std::filesystem::create_hard_link(thesis, granted.path("Cache/thesis"));
  EXPECT_TRUE(erase("Cache", GetParam()).leftNothing());
  EXPECT_FALSE(granted.exists("Cache"));
  EXPECT_EQ(elsewhere.content("thesis"), marks(5000));
}

TEST_P(EveryErasure, ofALinkLeavesWhatItLeadsTo) {
  granted.file("History", marks(5000));
  granted.link("Cookies", "History");
  granted.link("outside", elsewhere.file("thesis", marks(5000)));
  granted.link("nowhere", "/no/such/file");
  for (const char* link : {"Cookies", "outside", "nowhere"}) {
    EXPECT_EQ(erase(link, GetParam()).removed, 1U);
    EXPECT_FALSE(granted.exists(link));
  }
  EXPECT_EQ(granted.content("History"), marks(5000));
  EXPECT_EQ(elsewhere.content("thesis"), marks(5000));
}

TEST_P(EveryErasure, takesSpecialFilesWithoutOpeningThem) {
  granted.folder("tree");
  ASSERT_EQ(::mkfifo(granted.path("tree/pipe").c_str(), 0600), 0);
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  granted.path("tree/socket").copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_TRUE(erase("tree", GetParam()).leftNothing());
  EXPECT_FALSE(granted.exists("tree"));
}

TEST_P(EveryErasure, doesNotEnterAFolderThatIsMountedBelow) {
  elsewhere.file("documents/thesis", marks(5000));
  granted.file("Cache/sub/file");
  granted.folder("Cache/sub/documents");
  withOwnMounts([&] {
    ASSERT_TRUE(testing_support::bindMount(elsewhere.path("documents"), granted.path("Cache/sub/documents")));
    const Erasure erasure = erase("Cache", GetParam());
    EXPECT_EQ(erasure.onOtherMounts, 1U);
    EXPECT_EQ(erasure.removed, 1U);
    EXPECT_TRUE(granted.exists("Cache/sub/documents/thesis"));
  });
  EXPECT_FALSE(granted.exists("Cache/sub/file"));
  EXPECT_EQ(elsewhere.content("documents/thesis"), marks(5000));
}

TEST_P(EveryErasure, leavesWhatIsMountedItself) {
  elsewhere.file("documents/thesis", marks(5000));
  granted.folder("Cache");
  granted.file("Cookies");
  granted.file("Default/Cookies");
  withOwnMounts([&] {
    ASSERT_TRUE(testing_support::bindMount(elsewhere.path("documents"), granted.path("Cache")));
    ASSERT_TRUE(testing_support::bindMount(elsewhere.path("documents/thesis"), granted.path("Cookies")));
    ASSERT_TRUE(testing_support::bindMount(elsewhere.path("documents"), granted.path("Default")));
    for (const char* item : {"Cache", "Cookies", "Default/thesis"}) {
      const Erasure erasure = erase(item, GetParam());
      EXPECT_EQ(erasure.onOtherMounts, 1U) << item;
      EXPECT_EQ(erasure.removed, 0U) << item;
    }
  });
  EXPECT_EQ(elsewhere.content("documents/thesis"), marks(5000));
}

TEST_F(FileErasure, takesWhatIsMountedAsAWholeWhenTheGrantIsOfIt) {
  withOwnMounts([&] {
    granted.folder("cache");
    ASSERT_TRUE(testing_support::mountMemory(granted.path("cache"), "size=1m"));
    scopes.openForProcess(FileURL(granted.path("cache"), true));
    granted.file("cache/file");
    EXPECT_EQ(erase("cache/file").removed, 1U);
  });
}

TEST_F(FileErasure, fillsNoHoles) {
  const std::string path = granted.file("sparse", marks(4096));
  ASSERT_EQ(::truncate(path.c_str(), 5LL << 30), 0);  // beyond 4 GiB as well
  {
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::pwrite(file.get(), marks(4096).data(), 4096, (5LL << 30) - 4096), 4096);
  }
  const Held held(path);
  const auto blocks = held.status().st_blocks;
  EXPECT_TRUE(erase("sparse").leftNothing());
  EXPECT_FALSE(held.hasMarks());
  EXPECT_FALSE(held.hasMarks((5LL << 30) - 4096, 4096));
  EXPECT_EQ(held.status().st_blocks, blocks);
}

TEST_F(FileErasure, endsOnAFullDisk) {
  withOwnMounts([&] {
    granted.folder("disk");
    ASSERT_TRUE(testing_support::mountMemory(granted.path("disk"), "size=256k"));
    scopes.openForProcess(FileURL(granted.path("disk"), true));
    const std::string path = granted.file("disk/sparse", marks(4096));
    ASSERT_EQ(::truncate(path.c_str(), 1LL << 40), 0);
    const FileDescriptor filler(::open(granted.path("disk/filler").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    while (::write(filler.get(), marks(4096).data(), 4096) > 0) continue;
    const Held held(path);
    EXPECT_TRUE(erase("disk/sparse").leftNothing());
    EXPECT_FALSE(held.hasMarks());
  });
}

TEST_F(FileErasure, leavesAFileWhoseWritesFail) {
  granted.file("tree/long", marks(100'000));
  granted.file("tree/short", marks(1000));
  const Erasure erasure = [this] {
    const testing_support::FileSizeLimit limit(50'000);
    return erase("tree");
  }();
  EXPECT_EQ(erasure.notOverwritten, 1U);
  EXPECT_EQ(erasure.error, std::errc::file_too_large);
  EXPECT_TRUE(granted.exists("tree/long"));
  EXPECT_FALSE(granted.exists("tree/short"));
}

TEST_F(FileErasure, leavesAFileThatCanNotBeOpenedForWriting) {
  const std::string program = granted.path("tree/program");
  granted.folder("tree");
  std::filesystem::copy_file("/bin/sleep", program);
  std::array<int, 2> running{};
  ASSERT_EQ(::pipe2(running.data(), O_CLOEXEC), 0);
  FileDescriptor readEnd(running[0]);
  FileDescriptor writeEnd(running[1]);
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl(program.c_str(), program.c_str(), "600", nullptr);
    const int error = errno;
    [[maybe_unused]] const ssize_t told = ::write(writeEnd.get(), &error, sizeof error);
    ::_exit(1);
  }
  writeEnd.reset();
  // The pipe closes when the program runs, and its file is busy from then on. The test itself doesn't open the file,
  // since a program that is open for writing can't be run.
  int error = 0;
  EXPECT_EQ(::read(readEnd.get(), &error, sizeof error), 0) << error;
  const Erasure erasure = erase("tree");
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_EQ(erasure.notOverwritten, 1U);
  EXPECT_TRUE(granted.exists("tree/program"));
}

TEST_F(FileErasure, overwritesFilesThatLieDeeperThanAPathCanSay) {
  FileDescriptor folder(::open(granted.folder("deep").c_str(), O_DIRECTORY | O_CLOEXEC));
  const std::string name(200, 'd');
  for (int level = 0; level < 300; ++level) {
    ASSERT_EQ(::mkdirat(folder.get(), name.c_str(), 0700), 0);
    folder.reset(::openat(folder.get(), name.c_str(), O_DIRECTORY | O_CLOEXEC));
  }
  const FileDescriptor file(::openat(folder.get(), "file", O_CREAT | O_RDWR | O_CLOEXEC, 0600));
  ASSERT_EQ(::write(file.get(), marks(4096).data(), 4096), 4096);
  EXPECT_EQ(erase("deep").removed, 302U);
  EXPECT_FALSE(granted.exists("deep"));
  std::string after(4096, '\0');
  ASSERT_EQ(::pread(file.get(), after.data(), after.size(), 0), 4096);
  EXPECT_EQ(after.find(kMark), std::string::npos);
}

TEST_F(FileErasure, ofAMissingItemIsNoError) {
  EXPECT_TRUE(erase("missing").leftNothing());
  EXPECT_TRUE(erase("no/such/folder").leftNothing());
}

TEST_F(FileErasure, outsideEveryGrantIsRefused) {
  elsewhere.file("thesis", marks(100));
  const Erasure erasure = files.eraseItem(elsewhere.path("thesis"), Overwriting::kThreePasses);
  EXPECT_EQ(erasure.error, std::errc::operation_not_permitted);
  EXPECT_EQ(elsewhere.content("thesis"), marks(100));
}

}  // namespace
