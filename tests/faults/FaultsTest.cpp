// A run of a browser in which one system call goes wrong, for every call by its number: whatever the disk does, and
// whenever the worker is killed, nothing but what a cleaning removes is gone, each store is as it was before or as it
// is afterwards, and the next run finishes the work.
//
// With the variable TIDEWELL_FAULT_STRIDE set, every so-manieth number is tried; 1 for all.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "Platform/Linux/host/Sanitizers.h"
#include "tests/faults/FaultPoints.h"
#include "tests/faults/FaultStride.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

namespace fs = std::filesystem;

using ::testing::IsEmpty;
using testing_support::Fault;
using testing_support::FaultPoints;
using testing_support::faultStride;
using testing_support::HomeContents;
using testing_support::LinuxHomeTest;
using testing_support::ScratchFolder;

// Primes, so that they do not follow what is done over and over. With a sanitizer a run takes several times as long.
constexpr std::uint64_t kUsualStride = platform::linux_::kIsSanitized ? 1009 : 199;

/// Fewer would not be those of a whole run.
constexpr std::uint64_t kLeastPoints = 100;

struct Trial {
  const char* browser;
  const char* dataFolder;
  const char* cacheFolder;
  Fault fault;
  bool overwrites;
};

std::string nameOf(const Trial& run) {
  static constexpr const char* kFaults[] = {"Fails", "IsInterrupted", "IsShort", "IsTheLast"};
  return std::string(run.browser) + kFaults[static_cast<int>(run.fault)] + (run.overwrites ? "Overwriting" : "");
}

std::size_t openDescriptors() {
  const fs::directory_iterator open("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(open), end(open)));
}

/// A home with one installation of a browser, which the runs of one test are made on.
class Sample {
 public:
  explicit Sample(const Trial& run) {
    testing_support::fillInstallation(folder_, *tidewell::browserNamed(run.browser), run.dataFolder, run.cacheFolder,
                                      /*isCleaned=*/false);
    folder_.file("Documents/thesis", "mine");
  }

  void copyTo(const std::string& home) const {
    fs::copy(folder_.path(), home, fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  }

 private:
  const ScratchFolder folder_;
};

/// One home and one worker on it.
class FaultyRun : public LinuxHomeTest {
 public:
  FaultyRun(const Trial& run, const Sample& sample) : run_(run) {
    fs::remove_all(platform.home.path());
    sample.copyTo(platform.home.path());
    platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, run.overwrites);
    for (const char* folder : {run.dataFolder, run.cacheFolder}) platform.grant(home(folder));
  }
  void TestBody() override {}

  HomeContents contents() const { return HomeContents(platform.home); }
  void clean() { quit(run_.browser); }

  /// What became of a run in a process of its own.
  struct Ending {
    std::uint64_t count = 0;
    std::size_t leakedDescriptors = 0;
    bool isAsExpected = false;
  };

  /// Runs in a process of its own with a fault at the numbered call.
  Ending cleanWithFault(std::uint64_t number) {
    int pipe[2];
    if (::pipe(pipe) != 0) return {};
    const pid_t child = ::fork();
    if (child == 0) {
      Ending ending;
      const std::size_t before = openDescriptors();
      {
        const FaultPoints faults(run_.fault, number);
        clean();
        ending.count = faults.count();
      }
      ending.leakedDescriptors = openDescriptors() - before;
      const bool isTold = ::write(pipe[1], &ending, sizeof ending) == static_cast<ssize_t>(sizeof ending);
      ::_exit(isTold ? 0 : 1);
    }
    ::close(pipe[1]);
    Ending ending;
    const bool isTold = ::read(pipe[0], &ending, sizeof ending) == static_cast<ssize_t>(sizeof ending);
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    ending.isAsExpected = run_.fault == Fault::kIsTheLast && number != 0 ? isKilled : isTold;
    return ending;
  }

 private:
  const Trial& run_;
  std::shared_ptr<tidewell::WorkerAppDelegate> worker_ = makeWorker();
};

bool isOurs(const std::string& path) {
  return path.find(tidewell::kAsideSuffix) != std::string::npos;
}

/// What is wrong with a home after a run in which something went wrong. What is to go may be overwritten already.
std::vector<std::string> violations(const HomeContents& now, const HomeContents& before, const HomeContents& cleaned,
                                    bool mayBeOverwritten) {
  std::vector<std::string> wrong;
  for (const auto& [path, meaning] : before.meanings) {
    const auto found = now.meanings.find(path);
    const auto expected = cleaned.meanings.find(path);
    if (expected == cleaned.meanings.end()) {
      const bool isFolder = path.ends_with('/');  // a database that goes as a whole may be gone in part
      const bool isFine = found == now.meanings.end() || found->second == meaning || mayBeOverwritten || isFolder;
      if (!isFine) wrong.push_back("changed, and not removed: " + path);
    } else if (found == now.meanings.end()) {
      wrong.push_back("gone: " + path);
    } else if (found->second != meaning && found->second != expected->second) {
      wrong.push_back("neither as before nor as cleaned: " + path + ": " + found->second);
    }
  }
  for (const auto& [path, meaning] : now.meanings) {
    const bool isKnown = before.meanings.contains(path) || cleaned.meanings.contains(path) ||
                         before.files.contains(path) || cleaned.files.contains(path);
    if (!isKnown && !isOurs(path)) wrong.push_back("new: " + path);
  }
  return wrong;
}

void PrintTo(const Trial& run, std::ostream* out) {
  *out << nameOf(run);
}

class Faults : public ::testing::TestWithParam<Trial> {};

std::vector<Trial> runs() {
  std::vector<Trial> all;
  for (const Fault fault : {Fault::kFails, Fault::kIsInterrupted, Fault::kIsShort, Fault::kIsTheLast}) {
    for (const bool overwrites : {false, true}) {
      all.push_back({"Chromium", ".config/chromium", ".cache/chromium", fault, overwrites});
      all.push_back({"Firefox", ".mozilla/firefox", ".cache/mozilla/firefox", fault, overwrites});
    }
  }
  return all;
}

INSTANTIATE_TEST_SUITE_P(OfOneCall, Faults, ::testing::ValuesIn(runs()),
                         [](const auto& tested) { return nameOf(tested.param); });

TEST_P(Faults, harmNothingAndAreMadeGoodByTheNextRun) {
  const Trial& trial = GetParam();
  const Sample sample(trial);
  auto whole = std::make_unique<FaultyRun>(trial, sample);
  const HomeContents before = whole->contents();
  const FaultyRun::Ending ending = whole->cleanWithFault(0);
  ASSERT_TRUE(ending.isAsExpected);
  ASSERT_GT(ending.count, kLeastPoints);
  const HomeContents cleaned = whole->contents();
  whole.reset();  // there is one platform at a time
  ASSERT_THAT(cleaned.differencesFrom(before), Not(IsEmpty()));
  std::uint64_t tried = 0;
  for (std::uint64_t number = 1; number <= ending.count; number += faultStride(kUsualStride), ++tried) {
    FaultyRun faulty(trial, sample);
    const FaultyRun::Ending faultyEnding = faulty.cleanWithFault(number);
    EXPECT_TRUE(faultyEnding.isAsExpected) << "at call " << number;
    EXPECT_EQ(faultyEnding.leakedDescriptors, ending.leakedDescriptors) << "at call " << number;
    EXPECT_THAT(violations(faulty.contents(), before, cleaned, trial.overwrites), IsEmpty()) << "at call " << number;
    faulty.clean();
    EXPECT_THAT(faulty.contents().differencesFrom(cleaned), IsEmpty()) << "after call " << number;
  }
  std::cout << tried << " of " << ending.count << " points of failure\n";
}

}  // namespace
