#include "Platform/Linux/cells/LinuxCells.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "Platform/Linux/cells/CellDoor.h"
#include "Platform/Linux/cells/CellLoop.h"
#include "Platform/Path.h"

namespace platform::linux_ {
namespace {

constexpr char kStandIn[] = "tidewell-worker";                  // does the same when it is started by the cell's name
constexpr char kInstalledBeside[] = TIDEWELL_LIBEXEC_FROM_BIN;  // the folder, from that of the other programs
constexpr char kOpenDoor[] =
    "this kernel has neither seccomp nor Landlock: what sites wrote is read in a process of its own, but not confined";
constexpr std::size_t kLongestGreeting = 64;  // bytes

}  // namespace

/// Hears the greeting before all else, and starts the next cell while it would only wait.
class LinuxCells::Conversation : public Cell {
 public:
  Conversation(LinuxCells& cells, CellProcess process)
      : cells_(cells), process_(std::move(process)), end_(std::chrono::steady_clock::now() + cells.patience_) {}

  std::error_code say(std::string_view message) override { return process_.say(message, end_); }

  Result<std::string> hear(std::size_t largest) override {
    if (!isGreeted_) {
      cells_.startNext();
      const auto greeting = process_.hear(kLongestGreeting, end_);
      if (!greeting) return greeting.error();
      isGreeted_ = true;
      cells_.greeted(CellDoor::from(*greeting).isClosed());
    }
    return process_.hear(largest, end_);
  }

 private:
  LinuxCells& cells_;
  CellProcess process_;
  const CellProcess::Time end_;
  bool isGreeted_ = false;
};

LinuxCells::LinuxCells(FileDescriptor program, Log& log, std::chrono::milliseconds patience)
    : program_(std::move(program)),
      log_(log),
      patience_(patience),
      mostAhead_(std::max(1U, std::thread::hardware_concurrency())) {}

FileDescriptor LinuxCells::programOfExecutable() {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  const std::string folder =
      deletingLastPathComponent(std::string(path.data(), length > 0 ? static_cast<std::size_t>(length) : 0));
  const std::string places[] = {
      appendingPathComponent(folder, std::string(kCellName)),
      appendingPathComponent(appendingPathComponent(folder, kInstalledBeside), std::string(kCellName)),
      appendingPathComponent(folder, kStandIn)};
  FileDescriptor program;
  for (const std::string& place : places) {
    if (!program) program.reset(::open(place.c_str(), O_PATH | O_CLOEXEC));
  }
  return program;
}

Result<std::unique_ptr<Cell>> LinuxCells::open() {
  std::optional<CellProcess> process;
  {
    const std::lock_guard lock(mutex_);
    if (!ready_.empty()) {
      process.emplace(std::move(ready_.front()));
      ready_.erase(ready_.begin());
    }
  }
  if (!process) {
    auto started = CellProcess::start(program_.get());
    if (!started) return started.error();
    process.emplace(std::move(*started));
  }
  return std::unique_ptr<Cell>(std::make_unique<Conversation>(*this, std::move(*process)));
}

std::shared_ptr<void> LinuxCells::startAhead() {
  const std::lock_guard lock(mutex_);
  ++aheadCount_;
  return {this, [](LinuxCells* cells) { cells->stopAhead(); }};
}

void LinuxCells::startNext() {
  {
    const std::lock_guard lock(mutex_);
    if (aheadCount_ == 0 || ready_.size() >= mostAhead_) return;
  }
  auto started = CellProcess::start(program_.get());
  const std::lock_guard lock(mutex_);
  if (started && aheadCount_ > 0) ready_.push_back(std::move(*started));  // else whoever needs one will be told
}

void LinuxCells::stopAhead() {
  std::vector<CellProcess> unneeded;
  const std::lock_guard lock(mutex_);
  if (--aheadCount_ == 0) unneeded.swap(ready_);
}

void LinuxCells::greeted(bool isClosed) {
  const std::lock_guard lock(mutex_);
  if (isClosed || std::exchange(hasWarned_, true)) return;
  log_.log(kOpenDoor);
}

}  // namespace platform::linux_
