// What people are told of a process that runs.

#include <gtest/gtest.h>

#include "Platform/Linux/processes/ProcessFacts.h"
#include "tests/support/Processes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using namespace std::chrono_literals;
using platform::linux_::environmentOfProcess;
using platform::linux_::hasOwnNumber;
using platform::linux_::startOfProcess;
using testing_support::TestProcess;

constexpr pid_t kNobody = 0x7ffffff0;  // above the kernel's highest number

/// Runs under a name that is hard to read in the process table.
class FactsOfAProcess : public ::testing::Test {
 protected:
  FactsOfAProcess() { testing_support::installStandIn(program); }

  testing_support::ScratchFolder folder;
  const std::string program = folder.path("a ) R 1) b");
};

TEST_F(FactsOfAProcess, areItsStart) {
  const auto before = std::chrono::system_clock::now();
  const TestProcess process({program});
  const auto start = startOfProcess(process.pid());
  ASSERT_TRUE(start);
  // The kernel counts in hundredths of a second, and this test may be held up anywhere.
  EXPECT_GT(*start, before - 1min);
  EXPECT_LE(*start, std::chrono::system_clock::now() + 1s);
  EXPECT_FALSE(startOfProcess(kNobody));
}

TEST_F(FactsOfAProcess, areWhatItsEnvironmentHolds) {
  ASSERT_EQ(::setenv("TIDEWELL_TEST", "a=b", 1), 0);
  const TestProcess process({program});
  ::unsetenv("TIDEWELL_TEST");
  EXPECT_EQ(environmentOfProcess(process.pid(), "TIDEWELL_TEST"), "a=b");
  EXPECT_EQ(environmentOfProcess(process.pid(), "TIDEWELL"), std::nullopt);
  EXPECT_EQ(environmentOfProcess(kNobody, "TIDEWELL_TEST"), std::nullopt);
}

TEST_F(FactsOfAProcess, areThatItHasTheSameNumberForItself) {
  const TestProcess process({program});
  EXPECT_TRUE(hasOwnNumber(process.pid()));
  EXPECT_FALSE(hasOwnNumber(kNobody));
}

}  // namespace
