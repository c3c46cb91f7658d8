// What becomes of a file's bytes after it has lost its name.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "Platform/Linux/host/FileDescriptor.h"

namespace testing_support {

/// A file that stays open.
class HeldFile {
 public:
  explicit HeldFile(const std::string& path) : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

  std::string bytes(off_t from = 0, std::size_t count = 1 << 20) const {
    std::string read(count, '\0');
    const ssize_t size = ::pread(file_.get(), read.data(), count, from);
    read.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return read;
  }
  bool holds(std::string_view text, off_t from = 0, std::size_t count = 1 << 20) const {
    return bytes(from, count).find(text) != std::string::npos;
  }
  struct stat status() const {
    struct stat found {};
    ::fstat(file_.get(), &found);
    return found;
  }

 private:
  const platform::linux_::FileDescriptor file_;
};

}  // namespace testing_support
