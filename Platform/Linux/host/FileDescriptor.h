// A file descriptor that is closed when its owner is destroyed.
#pragma once

#include <unistd.h>

#include <utility>

namespace platform::linux_ {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~FileDescriptor() { reset(); }
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }

  int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }
  int release() { return std::exchange(descriptor_, -1); }
  void reset(int descriptor = -1) {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = descriptor;
  }

 private:
  int descriptor_ = -1;
};

}  // namespace platform::linux_
