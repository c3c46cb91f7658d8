// A regular file that is read piece by piece.
#pragma once

#include <memory>
#include <string>

#include "Platform/FileManager.h"
#include "Platform/Linux/files/FilePin.h"

namespace platform::linux_ {

class FileReader : public ReadableFile {
 public:
  static Result<std::unique_ptr<ReadableFile>> open(const FilePin& pin);

  FileReader(FileDescriptor file, std::uint64_t size) : file_(std::move(file)), size_(size) {}

  Result<FileVersion> version() const override;
  std::uint64_t size() const override { return size_; }
  Result<std::string> read(std::uint64_t offset, std::size_t count) const override;

 private:
  const FileDescriptor file_;
  const std::uint64_t size_;
};

}  // namespace platform::linux_
