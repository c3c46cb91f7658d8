// Compares removing and overwriting with the usual tools: each figure is the ratio of two runs, one after the other, on
// the same disk. With a text as its argument it prints the rows that have it.

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
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/sandbox/Sandbox.h"
#include "tests/support/TestPlatform.h"

namespace {

using platform::FileURL;
using testing_support::ScratchFolder;

constexpr int kRounds = 5;

std::string wantedRows;  // those with this text; all where it is empty

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
  platform::NoConfinement confinement_;
  platform::Platform platform_{bundle_,      dispatch_,  fileManager_, fileManager_,  log_,
                               openPanel_,   scopes_,    system_,      userDefaults_, notificationCenter_,
                               userScripts_, workspace_, cells_,       confinement_};
};

void print(const char* what, const std::vector<double>& ours, const std::vector<double>& theirs, const char* tool,
           double wanted) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < ours.size(); ++round) ratios.push_back(ours[round] / theirs[round]);
  const auto [least, most] = std::minmax_element(ratios.begin(), ratios.end());
  std::printf("%-50s %8.3f s   %-28s %8.3f s   ratio %.2f (%.2f to %.2f; wanted: at most %.2f)\n", what, median(ours),
              tool, median(theirs), median(ratios), *least, *most, wanted);
  std::fflush(stdout);
}

/// Writes out what the file system of the folder has in memory; others' disks are theirs.
void flush(const std::string& folder) {
  const platform::linux_::FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ::syncfs(opened.get());
}

/// Runs both in turn, each on a tree that `make` has made.
void compare(const std::string& folder, const char* what, const std::function<void()>& make,
             const std::function<void()>& ours, const char* tool, const std::function<void()>& theirs, double wanted) {
  if (std::string(what).find(wantedRows) == std::string::npos) return;
  std::vector<double> ourTimes;
  std::vector<double> theirTimes;
  for (int round = 0; round < kRounds; ++round) {
    for (const bool areOurs : {true, false}) {
      make();
      flush(folder);
      (areOurs ? ourTimes : theirTimes).push_back(secondsOf(areOurs ? ours : theirs));
    }
  }
  print(what, ourTimes, theirTimes, tool, wanted);
}

std::vector<std::string> makeFiles(const Facade& facade, const std::string& folder, int count, std::size_t size = 1) {
  const std::string bytes(size, 'x');
  std::vector<std::string> paths;
  for (int file = 0; file < count; ++file)
    paths.push_back(facade.home.file(folder + "/" + std::to_string(file), bytes));
  return paths;
}

void removing(Facade& facade) {
  std::vector<std::string> paths;
  const auto makeSeparate = [&] { paths = makeFiles(facade, "f", 10'000); };
  const auto rm = [&] {
    std::vector<std::string> words = {"rm", "-f", "--"};
    words.insert(words.end(), paths.begin(), paths.end());
    run(words);
  };
  compare(
      facade.home.path(), "remove: of 10,000 separate files", makeSeparate, [&] { facade.removeAndWait(paths); },
      "rm of the same", rm, 3.0);
  compare(
      facade.home.path(), "10,000 separate files of a Linux home", makeSeparate,
      [] { tidewell::GrantedFiles::removeContentsOf("~/f"); }, "rm of the same", rm, 0.8);
  const std::string folder = facade.home.path("folder");
  const auto ours = [] { tidewell::GrantedFiles::remove("~/folder"); };
  const auto rmAll = [&] { run({"rm", "-rf", folder}); };
  const auto makeFlat = [&] { makeFiles(facade, "folder", 20'000); };
  compare(
      facade.home.path(), "folder of 20,000 files", makeFlat, [&] { facade.removeAndWait({folder}); }, "rm -rf", rmAll,
      0.7);
  compare(facade.home.path(), "folder of 20,000 files of a Linux home", makeFlat, ours, "rm -rf", rmAll, 0.7);
  const auto makeTree = [&] {
    for (int below = 0; below < 2000; ++below) {
      makeFiles(facade, "folder/" + std::to_string(below % 40) + "/" + std::to_string(below), 100);
    }
  };
  compare(facade.home.path(), "tree of 200,000 files of a Linux home", makeTree, ours, "rm -rf", rmAll, 0.7);
}

void overwritingOnLinuxHomes(Facade& facade) {
  facade.setOverwriting(true);
  const std::vector<std::string> shred = {"shred", "-n", "3", "--remove=unlink"};
  const std::string large = facade.home.path("large");
  const auto makeLarge = [&] { fill(large, std::size_t{256} << 20); };
  compare(
      facade.home.path(), "overwriting 256 MiB of a Linux home", makeLarge,
      [] { tidewell::GrantedFiles::remove("~/large"); }, "shred -n 3 --remove=unlink",
      [&] {
        std::vector<std::string> words = shred;
        words.push_back(large);
        run(words);
      },
      0.25);
  std::vector<std::string> paths;
  const auto makeMany = [&] { paths = makeFiles(facade, "many", 5'000, 20'000); };
  compare(
      facade.home.path(), "overwriting 5,000 files of 20 kB of a Linux home", makeMany,
      [] { tidewell::GrantedFiles::remove("~/many"); }, "shred -n 3 --remove=unlink",
      [&] {
        std::vector<std::string> words = shred;
        words.insert(words.end(), paths.begin(), paths.end());
        run(words);
      },
      0.2);
  facade.setOverwriting(false);
}

void overwriting(Facade& facade) {
  facade.setOverwriting(true);
  const std::string large = facade.home.path("large");
  compare(
      facade.home.path(), "overwriting 256 MiB three times, then removal", [&] { fill(large, std::size_t{256} << 20); },
      [&] { facade.removeAndWait({large}); }, "shred -n 3 --remove=unlink",
      [&] {
        run({"shred", "-n", "3", "--remove=unlink", large});
      },
      1.0);
  facade.setOverwriting(false);
}

}  // namespace

int main(int count, char** words) {
  if (count > 1) wantedRows = words[1];
  Facade facade;
  removing(facade);
  overwritingOnLinuxHomes(facade);
  overwriting(facade);
}
