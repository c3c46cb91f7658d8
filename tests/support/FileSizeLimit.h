// A limit on the sizes of files, as a way to have writing fail.
#pragma once

#include <signal.h>
#include <sys/resource.h>

namespace testing_support {

/// While it lives, this process can't write a file beyond `size` bytes: std::errc::file_too_large.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) {
    struct sigaction ignored {};
    ignored.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &ignored, &handler_);
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{size, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    ::sigaction(SIGXFSZ, &handler_, nullptr);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  struct sigaction handler_ {};
  rlimit before_{};
};

}  // namespace testing_support
