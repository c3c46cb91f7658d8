// Stands in for a browser: a copy under a browser's name does what its arguments say.
//
//   wait [ARGUMENT…]            until standard input is at its end
//   start PROGRAM ARGUMENT…     starts a program in a child, then waits
//   become PROGRAM ARGUMENT…    becomes the program in place
//   fork-for PROGRAM …          leaves a child that becomes the program when it is given a byte, and waits for a signal
//   fork                        leaves a child that never starts a program of its own, then waits
//   lose-first-thread           ends its first thread and waits in another
//
// It writes one byte to standard output when it is ready.

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>

namespace {

void tell() {
  [[maybe_unused]] const ssize_t told = ::write(STDOUT_FILENO, "+", 1);
}

[[noreturn]] void waitForEnd() {
  char byte = 0;
  while (::read(STDIN_FILENO, &byte, 1) > 0) {
  }
  std::_Exit(0);
}

}  // namespace

int main(int argc, char** argv) {
  ::signal(SIGPIPE, SIG_IGN);  // the reader of the byte may have gone
  const char* what = argc > 1 ? argv[1] : "wait";
  if (std::strcmp(what, "become") == 0) {
    ::execv(argv[2], argv + 2);
    return 1;
  }
  if (std::strcmp(what, "fork-for") == 0) {
    char byte = 0;
    if (::fork() == 0) {
      if (::read(STDIN_FILENO, &byte, 1) == 1) ::execv(argv[2], argv + 2);
      std::_Exit(1);
    }
    tell();
    ::pause();
  }
  if (std::strcmp(what, "start") == 0) {
    if (::fork() == 0) {
      ::execv(argv[2], argv + 2);
      std::_Exit(1);
    }
    tell();
    waitForEnd();
  }
  if (std::strcmp(what, "fork") == 0) {
    if (::fork() == 0) waitForEnd();
    tell();
    waitForEnd();
  }
  if (std::strcmp(what, "lose-first-thread") == 0) {
    pthread_t thread{};
    const auto main = [](void*) -> void* {
      tell();
      waitForEnd();
    };
    ::pthread_create(&thread, nullptr, main, nullptr);
    ::pthread_exit(nullptr);
  }
  tell();
  waitForEnd();
}
