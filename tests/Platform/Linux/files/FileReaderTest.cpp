// Reading files piece by piece, and what is refused.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::ReadableFile;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using testing_support::ScratchFolder;
using testing_support::swapItems;

class ReadableFiles : public ::testing::Test {
 protected:
  ReadableFiles() { scopes.openForProcess(FileURL(granted.path(), true)); }

  std::error_code refusal(const std::string& path) const { return files.readableFile(path).error(); }

  /// The content, or why it can't be read.
  static std::string read(const ReadableFile& file, std::uint64_t offset, std::size_t count) {
    const auto bytes = file.read(offset, count);
    return bytes ? *bytes : bytes.error().message();
  }

  ScratchFolder granted;
  ScratchFolder elsewhere;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts")};
};

TEST_F(ReadableFiles, giveTheirBytesFromAnyPlace) {
  granted.file("a", std::string("0123\0"
                                "56789",
                                10));
  const auto file = files.readableFile(granted.path("a"));
  ASSERT_TRUE(file);
  EXPECT_EQ((*file)->size(), 10U);
  EXPECT_EQ(read(**file, 0, 10), std::string("0123\0"
                                             "56789",
                                             10));
  EXPECT_EQ(read(**file, 3, 3), std::string("3\0"
                                            "5",
                                            3));
  EXPECT_EQ(read(**file, 0, 2), "01");
  EXPECT_EQ(read(**file, 5, 0), "");
}

TEST_F(ReadableFiles, giveFewerBytesWhereTheyEnd) {
  granted.file("a", "0123456789");
  const auto file = files.readableFile(granted.path("a"));
  ASSERT_TRUE(file);
  EXPECT_EQ(read(**file, 8, 10), "89");
  EXPECT_EQ(read(**file, 8, std::numeric_limits<std::size_t>::max()), "89");
  EXPECT_EQ(read(**file, 10, 1), "");
  EXPECT_EQ(read(**file, std::numeric_limits<std::int64_t>::max(), 10), "");
  EXPECT_EQ(read(**file, std::numeric_limits<std::uint64_t>::max(), 10), "");
}

TEST_F(ReadableFiles, mayBeLarge) {
  std::string content;
  for (int number = 0; content.size() < 3'000'000; ++number) content += std::to_string(number) + ' ';
  granted.file("large", content);
  const auto file = files.readableFile(granted.path("large"));
  ASSERT_TRUE(file);
  EXPECT_EQ(read(**file, 0, content.size()), content);
  EXPECT_EQ(read(**file, 7, 2'500'000), content.substr(7, 2'500'000));
}

TEST_F(ReadableFiles, mayGrowAndShrinkMeanwhile) {
  granted.file("a", "0123");
  const auto file = files.readableFile(granted.path("a"));
  ASSERT_TRUE(file);
  std::ofstream(granted.path("a"), std::ios::app) << "4567";
  EXPECT_EQ((*file)->size(), 4U);
  EXPECT_EQ(read(**file, 2, 10), "234567");
  ASSERT_EQ(::truncate(granted.path("a").c_str(), 3), 0);
  EXPECT_EQ(read(**file, 2, 10), "2");
}

TEST_F(ReadableFiles, areTheSameFileThoughAnotherTakesThePlace) {
  granted.file("a", "first");
  granted.file("b", "second");
  const auto file = files.readableFile(granted.path("a"));
  ASSERT_TRUE(file);
  std::filesystem::rename(granted.path("b"), granted.path("a"));
  EXPECT_EQ(read(**file, 0, 10), "first");
}

TEST_F(ReadableFiles, areRegularOnly) {
  granted.folder("folder");
  ASSERT_EQ(::mkfifo(granted.path("pipe").c_str(), 0600), 0);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, granted.path("socket").c_str(), sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ::close(socket);
  scopes.openForProcess(FileURL("/dev", true));
  EXPECT_EQ(refusal(granted.path("folder")), std::errc::is_a_directory);
  EXPECT_EQ(refusal(granted.path("pipe")), std::errc::invalid_argument);  // without waiting for a writer
  EXPECT_EQ(refusal(granted.path("socket")), std::errc::invalid_argument);
  EXPECT_EQ(refusal("/dev/null"), std::errc::invalid_argument);
}

TEST_F(ReadableFiles, areNotFoundThroughALinkInTheirPlace) {
  granted.file("a");
  elsewhere.file("a");
  granted.link("inside", "a");
  granted.link("outside", elsewhere.path("a"));
  granted.link("dangling", "nowhere");
  for (const char* link : {"inside", "outside", "dangling"}) {
    EXPECT_EQ(refusal(granted.path(link)), std::errc::too_many_symbolic_link_levels) << link;
  }
}

TEST_F(ReadableFiles, areFoundThroughALinkOnTheWayThatStaysInside) {
  granted.file("real/a");
  granted.link("way", "real");
  elsewhere.file("a");
  granted.link("out", elsewhere.path());
  EXPECT_TRUE(files.readableFile(granted.path("way/a")));
  EXPECT_EQ(refusal(granted.path("out/a")), std::errc::operation_not_permitted);
}

TEST_F(ReadableFiles, lieInAGrant) {
  elsewhere.file("a");
  granted.folder("sub");
  const std::string wayOut = granted.path("sub/../../" + elsewhere.path().substr(5) + "/a");
  EXPECT_EQ(refusal(elsewhere.path("a")), std::errc::operation_not_permitted);
  EXPECT_EQ(refusal(wayOut), std::errc::operation_not_permitted);
  EXPECT_EQ(refusal(granted.path("..")), std::errc::operation_not_permitted);
  EXPECT_EQ(refusal(granted.path("missing")), std::errc::no_such_file_or_directory);
  EXPECT_EQ(refusal(granted.path(std::string("a\0b", 3))), std::errc::invalid_argument);
  EXPECT_EQ(refusal(""), std::errc::invalid_argument);
}

TEST_F(ReadableFiles, mayBeGrantedAlone) {
  elsewhere.file("a", "content");
  elsewhere.file("b");
  elsewhere.link("link", "a");
  scopes.openForProcess(FileURL(elsewhere.path("a")));
  const auto file = files.readableFile(elsewhere.path("a"));
  ASSERT_TRUE(file);
  EXPECT_EQ(read(**file, 0, 10), "content");
  EXPECT_TRUE(files.readableFile(elsewhere.path("a").substr(1)));  // a relative path begins at "/"
  EXPECT_EQ(refusal(elsewhere.path("b")), std::errc::operation_not_permitted);
  EXPECT_EQ(refusal(elsewhere.path("link")), std::errc::operation_not_permitted);
}

TEST_F(ReadableFiles, neverLieOutsideThoughLinksAreSwappedInMeanwhile) {
  elsewhere.file("a", "outside");
  granted.file("sub/a", "inside");
  granted.link("way", elsewhere.path());
  granted.file("file", "inside");
  granted.link("link", elsewhere.path("a"));
  std::atomic<bool> done = false;
  std::thread attacker([&] {
    while (!done) {
      swapItems(granted.path("sub"), granted.path("way"));
      swapItems(granted.path("file"), granted.path("link"));
    }
  });
  std::array<int, 2> inside{};
  bool isOutside = false;
  for (int round = 0; round < 20'000 && !isOutside; ++round) {
    for (const std::size_t which : {0U, 1U}) {
      const auto file = files.readableFile(granted.path(which == 0 ? "sub/a" : "file"));
      if (!file) continue;
      isOutside = isOutside || read(**file, 0, 100) != "inside";
      ++inside[which];
    }
  }
  done = true;
  attacker.join();
  EXPECT_FALSE(isOutside);
  EXPECT_GT(inside[0], 0);
  EXPECT_GT(inside[1], 0);
}

}  // namespace
