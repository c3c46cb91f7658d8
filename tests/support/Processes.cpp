#include "tests/support/Processes.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace testing_support {

TestProcess::TestProcess(const std::vector<std::string>& arguments) {
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  std::vector<char*> words;
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  const int result = ::posix_spawn(&pid_, words[0], &actions, nullptr, words.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(input[0]);
  ::close(output[1]);
  input_ = input[1];
  char byte = 0;
  const ssize_t told = result == 0 ? ::read(output[0], &byte, 1) : 0;
  ::close(output[0]);
  if (told != 1) throw std::runtime_error("not started: " + arguments[0]);
}

TestProcess::TestProcess(TestProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, 0)), input_(std::exchange(other.input_, -1)) {}

TestProcess::~TestProcess() {
  end();
}

void TestProcess::end() {
  if (input_ >= 0) ::close(std::exchange(input_, -1));
  reap();
}

void TestProcess::kill(int signal) {
  if (pid_ != 0) ::kill(pid_, signal);
  reap();
}

void TestProcess::say() {
  [[maybe_unused]] const ssize_t said = ::write(input_, "+", 1);
}

void TestProcess::reap() {
  if (pid_ != 0) ::waitpid(std::exchange(pid_, 0), nullptr, 0);
}

void installStandIn(const std::string& path) {
  namespace fs = std::filesystem;
  fs::create_directories(fs::path(path).parent_path());
  // Written under another name first, since a program that is open for writing can't be started.
  fs::copy_file(fs::read_symlink("/proc/self/exe").parent_path() / "stand_in", path + ".new",
                fs::copy_options::overwrite_existing);
  fs::rename(path + ".new", path);
}

void installWrapper(const std::string& path, const std::string& program) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << "#!/bin/sh\nexec \"" << program << "\" \"$@\"\n";
  ::chmod(path.c_str(), 0755);
}

}  // namespace testing_support
