// Real processes for tests: copies of the program stand_in under the names of browsers.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace testing_support {

/// A process that a test has started. It ends with the object at the latest.
class TestProcess {
 public:
  /// Starts it, and waits for the byte by which it reports that it is ready.
  explicit TestProcess(const std::vector<std::string>& arguments);
  ~TestProcess();
  TestProcess(TestProcess&& other) noexcept;
  TestProcess& operator=(TestProcess&&) = delete;

  pid_t pid() const { return pid_; }
  /// Lets it end by itself, with every child that waits on the same input.
  void end();
  void kill(int signal);
  /// Gives it a byte to read.
  void say();

 private:
  void reap();

  pid_t pid_ = 0;
  int input_ = -1;
};

/// Copies the stand-in to `path`.
void installStandIn(const std::string& path);

/// Writes a script to `path` that executes the program in its place.
void installWrapper(const std::string& path, const std::string& program);

}  // namespace testing_support
