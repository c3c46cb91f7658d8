// Real processes for tests: copies of the stand-in under the names of browsers.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace testing_support {

/// A process that a test started. Ended, at the latest, with the object.
class TestProcess {
 public:
  /// Starts it and waits until it says that it has got so far.
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

/// Puts a copy of the stand-in there.
void installStandIn(const std::string& path);

/// Puts a script there that becomes the program.
void installWrapper(const std::string& path, const std::string& program);

}  // namespace testing_support
