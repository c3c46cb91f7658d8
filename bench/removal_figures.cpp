// Compares removing and overwriting with the usual tools: each figure is the ratio of two runs, one after the other, on
// the same disk.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Linux/settings/SqliteUserDefaults.h"
#include "Platform/Linux/threads/LinuxDispatch.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/Sandbox.h"
#include "tests/support/TestPlatform.h"

namespace {

using platform::FileURL;
using testing_support::ScratchFolder;

constexpr int kRounds = 5;

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void run(const std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  pid_t pid = 0;
  if (::posix_spawnp(&pid, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0) ::waitpid(pid, nullptr, 0);
}

void fill(const std::string& path, std::size_t size) {
  const int file = ::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
  const std::string block(std::min<std::size_t>(size, 1 << 20), 'x');
  for (std::size_t written = 0; written < size; written += block.size()) {
    if (::write(file, block.data(), block.size()) < 0) break;
  }
  ::fsync(file);
  ::close(file);
}

/// The worker's sandbox on real queues, real settings and real files. Its home is granted, so no panel opens.
class Facade {
 public:
  Facade() {
    platform::Platform::install(&platform_);
    scopes_.openForProcess(FileURL(home.path(), true));
    const auto data = scopes_.bookmarkData(FileURL(home.path(), true));
    userDefaults_.standardUserDefaults()->setObject(*data, "bd_file://" + home.path() + "/");
    userDefaults_.suite(tidewell::kSharedSuite)->setObject(home.path(), tidewell::kUserFolderKey);
  }
  ~Facade() {
    dispatch_.threadPool().shutDown();
    platform::Platform::install(nullptr);
  }
  void setOverwriting(bool on) {
    userDefaults_.suite(tidewell::kSharedSuite)->setObject(on, tidewell::kSecureDeleteDataKey);
  }
  void removeAndWait(const std::vector<std::string>& paths) {
    tidewell::Sandbox::removeFiles(paths);
    for (const std::string& path : paths) {
      while (::access(path.c_str(), F_OK) == 0) std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  }

  ScratchFolder home;

 private:
  testing_support::Journal journal_;
  testing_support::FakeLog log_;
  platform::linux_::RunLoop loop_;
  platform::linux_::LinuxDispatch dispatch_{loop_};
  ScratchFolder settings_;
  platform::linux_::SqliteUserDefaults userDefaults_{settings_.path("s"), "own", log_};
  platform::linux_::SecurityScopes scopes_;
  platform::linux_::LinuxFileManager fileManager_{scopes_, settings_.path("scripts")};
  platform::linux_::LinuxSystem system_{scopes_};
  testing_support::FakeBundle bundle_;
  testing_support::FakeOpenPanel openPanel_{dispatch_, journal_, nullptr};
  testing_support::FakeNotificationCenter notificationCenter_{journal_};
  testing_support::FakeUserScripts userScripts_{journal_};
  testing_support::FakeWorkspace workspace_;
  platform::linux_::LinuxCells cells_{platform::linux_::LinuxCells::programOfExecutable(), log_};
  platform::Platform platform_{bundle_,      dispatch_,  fileManager_, fileManager_,  log_,
                               openPanel_,   scopes_,    system_,      userDefaults_, notificationCenter_,
                               userScripts_, workspace_, cells_};
};

void print(const char* what, const std::vector<double>& ours, const std::vector<double>& theirs, const char* tool,
           double wanted) {
  std::printf("%-46s %8.3f s   %-28s %8.3f s   ratio %.2f (wanted: at most %.1f)\n", what, median(ours), tool,
              median(theirs), median(ours) / median(theirs), wanted);
  std::fflush(stdout);
}

void separateFiles(Facade& facade) {
  std::vector<double> ours;
  std::vector<double> theirs;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::string> paths;
    const auto make = [&] {
      paths.clear();
      for (int file = 0; file < 10'000; ++file) paths.push_back(facade.home.file("f/" + std::to_string(file), "x"));
      ::sync();
    };
    make();
    ours.push_back(secondsOf([&] { facade.removeAndWait(paths); }));
    make();
    std::vector<std::string> words = {"rm", "-f", "--"};
    words.insert(words.end(), paths.begin(), paths.end());
    theirs.push_back(secondsOf([&] { run(words); }));
  }
  print("remove: of 10,000 separate files", ours, theirs, "rm of the same", 3.0);
}

void oneFolder(Facade& facade) {
  std::vector<double> ours;
  std::vector<double> theirs;
  for (int round = 0; round < kRounds; ++round) {
    const auto make = [&] {
      for (int file = 0; file < 20'000; ++file) facade.home.file("folder/" + std::to_string(file), "x");
      ::sync();
    };
    make();
    ours.push_back(secondsOf([&] { facade.removeAndWait({facade.home.path("folder")}); }));
    make();
    theirs.push_back(secondsOf([&] { run({"rm", "-rf", facade.home.path("folder")}); }));
  }
  print("removal of a folder of 20,000 files", ours, theirs, "rm -rf", 1.1);
}

void overwriting(Facade& facade) {
  facade.setOverwriting(true);
  std::vector<double> ours;
  std::vector<double> theirs;
  for (int round = 0; round < 3; ++round) {
    fill(facade.home.path("large"), std::size_t{256} << 20);
    ours.push_back(secondsOf([&] { facade.removeAndWait({facade.home.path("large")}); }));
    fill(facade.home.path("large"), std::size_t{256} << 20);
    theirs.push_back(secondsOf([&] { run({"shred", "-n", "3", "--remove=unlink", facade.home.path("large")}); }));
  }
  facade.setOverwriting(false);
  print("overwriting 256 MiB three times, then removal", ours, theirs, "shred -n 3 --remove=unlink", 1.0);
}

}  // namespace

int main() {
  Facade facade;
  separateFiles(facade);
  oneFolder(facade);
  overwriting(facade);
}
