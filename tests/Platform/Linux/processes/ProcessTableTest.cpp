// The process table.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "Platform/Linux/processes/ProcessTable.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ProcessTable, takesArgumentsApartByNulBytesOrElseByBlanks) {
  using platform::linux_::argumentsFromCommandLine;
  EXPECT_THAT(argumentsFromCommandLine(std::string("/a b\0--type=x y\0", 16)), ElementsAre("/a b", "--type=x y"));
  EXPECT_THAT(argumentsFromCommandLine("/usr/bin/x --type=renderer --lang=en"),
              ElementsAre("/usr/bin/x", "--type=renderer", "--lang=en"));
  EXPECT_THAT(argumentsFromCommandLine(std::string("/x -contentproc 7\0\0\0", 20)),
              ElementsAre("/x", "-contentproc", "7"));
  EXPECT_THAT(argumentsFromCommandLine(""), IsEmpty());
}

TEST(ProcessTable, knowsOurOwnProcess) {
  using namespace platform::linux_;
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_THAT(ownProcessesRunning([&](const std::string& executable) { return executable == self; }),
              ::testing::Contains(::getpid()));
  const auto info = processInfo(::getpid());
  ASSERT_TRUE(info);
  EXPECT_EQ(info->parent, ::getppid());
  EXPECT_EQ(info->executable, std::filesystem::read_symlink("/proc/self/exe"));
  EXPECT_FALSE(processInfo(1 << 30));
}

}  // namespace
