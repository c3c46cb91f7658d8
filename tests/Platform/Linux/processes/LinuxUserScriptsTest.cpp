// The user's scripts, as real processes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/Linux/processes/LinuxUserScripts.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::linux_::LinuxUserScripts;

class UserScripts : public ::testing::Test {
 protected:
  std::string script(const std::string& text, mode_t mode = 0755) {
    const std::string path = folder.file("scripts/script.sh", "#!/bin/sh\n" + text);
    ::chmod(path.c_str(), mode);
    return path;
  }
  std::error_code errorFor(const std::string& path) { return scripts.taskWithURL(FileURL(path)).error(); }

  testing_support::ScratchFolder folder;
  platform::linux_::RunLoop loop;
  LinuxUserScripts scripts{loop, folder.path("scripts")};
};

TEST_F(UserScripts, runWithoutArgumentsAndWithTheirStreamsOnNothing) {
  const std::string result = folder.path("result");
  const std::string path =
      script("streams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n" +
             ("{ echo $#; echo \"$streams\"; } > " + result + ".new\n") + "mv " + result + ".new " + result + "\n");
  const auto task = scripts.taskWithURL(FileURL(path));
  ASSERT_TRUE(task);
  (*task)->execute();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] {
    loop.after(std::chrono::milliseconds(5), [] {});
    return folder.exists("result");
  }));
  EXPECT_EQ(folder.content("result"), "0\n/dev/null\n/dev/null\n/dev/null\n");
}

TEST_F(UserScripts, areWaitedForWhenTheyEnd) {
  const auto task = scripts.taskWithURL(FileURL(script("echo $$ > " + folder.path("pid.new") + "\nmv " +
                                                       folder.path("pid.new") + " " + folder.path("pid") + "\n")));
  (*task)->execute();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] {
    loop.after(std::chrono::milliseconds(5), [] {});
    return folder.exists("pid") && ::kill(std::stoi(folder.content("pid")), 0) != 0;  // not even a zombie is left
  }));
}

TEST_F(UserScripts, mayBeStartedSeveralTimesAndFail) {
  const auto task = scripts.taskWithURL(FileURL(script("echo x >> " + folder.path("runs") + "\nexit 7\n")));
  for (int time = 0; time < 3; ++time) (*task)->execute();
  ASSERT_TRUE(testing_support::runUntil(loop, [&] {
    loop.after(std::chrono::milliseconds(5), [] {});
    return folder.exists("runs") && folder.content("runs") == "x\nx\nx\n";
  }));
}

TEST_F(UserScripts, thatAreMissingOrCanNotBeExecutedHaveNoTask) {
  EXPECT_EQ(errorFor(folder.path("scripts/missing.sh")), std::errc::no_such_file_or_directory);
  EXPECT_EQ(errorFor(script("", 0644)), std::errc::permission_denied);
}

TEST_F(UserScripts, mustLieInTheScriptsFolderItself) {
  const std::string path = script("");
  folder.link("scripts/link.sh", path);
  folder.file("elsewhere.sh");
  EXPECT_EQ(errorFor(folder.path("elsewhere.sh")), std::errc::operation_not_permitted);
  EXPECT_EQ(errorFor(folder.path("scripts/link.sh")), std::errc::permission_denied);
  EXPECT_TRUE(errorFor(folder.path("scripts/../elsewhere.sh")));
}

}  // namespace
