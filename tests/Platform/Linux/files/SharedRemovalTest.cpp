// Removals that two threads share, whatever their size.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::Erasure;
using platform::FileURL;
using platform::Overwriting;
using platform::linux_::LinuxFileManager;
using platform::linux_::Mounts;
using platform::linux_::SecurityScopes;
using platform::linux_::Sharing;
using testing_support::ScratchFolder;

class SharedRemoval : public ::testing::TestWithParam<Overwriting> {
 protected:
  SharedRemoval() { scopes.openForProcess(FileURL(granted.path(), true)); }

  Erasure erase(const std::string& below) { return files.eraseItem(granted.path(below), GetParam()); }

  void fill(const std::string& folder, int count) {
    for (int file = 0; file < count; ++file) {
      const std::string path = granted.file(folder + "/" + std::to_string(file), "0123456789");
      std::filesystem::permissions(path, std::filesystem::perms(0666));
    }
  }

  ScratchFolder granted;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts"), Mounts::kAny,
                         Sharing{.isAllowed = true, .itemsToRemove = 1, .itemsToOverwrite = 1}};
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutOverwriting, SharedRemoval,
                         ::testing::Values(Overwriting::kNone, Overwriting::kThreePasses), [](const auto& tested) {
                           return tested.param == Overwriting::kNone ? "plain" : "overwriting";
                         });

TEST_P(SharedRemoval, ofOneLargeFolderCountsEachFileOnce) {
  fill("Cache", 3000);
  const Erasure erasure = erase("Cache");
  EXPECT_TRUE(erasure.leftNothing());
  EXPECT_EQ(erasure.removed, 3001U);
  EXPECT_EQ(erasure.removedBytes, 30'000U);
  EXPECT_FALSE(granted.exists("Cache"));
}

TEST_P(SharedRemoval, ofManyFoldersCountsEachItemOnce) {
  for (int folder = 0; folder < 60; ++folder) {
    fill("storage/" + std::to_string(folder), 3);
    fill("storage/" + std::to_string(folder) + "/idb/files", 7);
  }
  const Erasure erasure = erase("storage");
  EXPECT_TRUE(erasure.leftNothing());
  EXPECT_EQ(erasure.removed, 60U * (3 + 7 + 3) + 1);
  EXPECT_EQ(erasure.removedBytes, 60U * 10 * 10);
  EXPECT_FALSE(granted.exists("storage"));
}

TEST_P(SharedRemoval, goesOnPastWhatItCanNotRemove) {
  for (int folder = 0; folder < 40; ++folder) {
    const std::string name = "tree/" + std::to_string(folder);
    fill(name, 20);
    ASSERT_EQ(::chmod(granted.path(name).c_str(), folder % 8 == 0 ? 0555 : 0777), 0);
  }
  ASSERT_EQ(::chmod(granted.path("tree").c_str(), 0777), 0);
  std::filesystem::permissions(granted.path(), std::filesystem::perms::all);
  {
    const testing_support::OrdinaryUser user(granted.path());
    const Erasure erasure = erase("tree");
    EXPECT_EQ(erasure.error, std::errc::permission_denied);
    EXPECT_EQ(erasure.failed, 5U * 20);
    EXPECT_EQ(erasure.removed, 35U * 21);
  }
  EXPECT_TRUE(granted.exists("tree/0/0"));
  EXPECT_TRUE(granted.exists("tree/32/19"));
}

TEST_P(SharedRemoval, goesDeepOnManyWaysWithFewDescriptors) {
  constexpr int kWays = 8;
  constexpr int kLevels = 300;
  granted.folder("deep");
  for (int way = 0; way < kWays; ++way) {
    platform::linux_::FileDescriptor folder(::open(granted.path("deep").c_str(), O_DIRECTORY | O_CLOEXEC));
    const std::string first = std::to_string(way);
    for (int level = 0; level < kLevels; ++level) {
      const char* name = level == 0 ? first.c_str() : "d";
      ASSERT_EQ(::mkdirat(folder.get(), name, 0700), 0);
      folder.reset(::openat(folder.get(), name, O_DIRECTORY | O_CLOEXEC));
    }
  }
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit few{160, limit.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &few);
  const Erasure erasure = erase("deep");
  ::setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_TRUE(erasure.leftNothing());
  EXPECT_EQ(erasure.removed, 1U + kWays * kLevels);
}

TEST_P(SharedRemoval, ofOneFolderByTwoAtOnceIsHarmless) {
  for (int round = 0; round < 5; ++round) {
    for (int folder = 0; folder < 10; ++folder) fill("tree/" + std::to_string(folder), 20);
    std::thread other([this] { erase("tree"); });
    erase("tree");
    other.join();
    ASSERT_FALSE(granted.exists("tree"));
  }
}

TEST(SharedErasure, goesOnWhileOneThreadWaitsForTheDisk) {
  const ScratchFolder granted;
  SecurityScopes scopes;
  scopes.openForProcess(FileURL(granted.path(), true));
  LinuxFileManager files(scopes, granted.path("scripts"), Mounts::kAny, Sharing{.isAllowed = true});
  std::vector<std::string> paths;
  for (int file = 0; file < 500; ++file) paths.push_back(granted.file("Cache/" + std::to_string(file), "bytes"));
  testing_support::SystemCalls calls;
  bool isAnyGone = false;
  calls.beforeFlush = [&] {
    // The disk is slow for this thread alone; it waits until the other has removed something.
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!isAnyGone && std::chrono::steady_clock::now() < end) {
      for (const std::string& path : paths) isAnyGone = isAnyGone || !std::filesystem::exists(path);
      std::this_thread::yield();
    }
  };
  EXPECT_TRUE(files.eraseItem(granted.path("Cache"), Overwriting::kThreePasses).leftNothing());
  EXPECT_TRUE(isAnyGone);
}

}  // namespace
