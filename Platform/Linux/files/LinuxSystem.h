// The operating system's own calls.
#pragma once

#include "Platform/Linux/files/SecurityScopes.h"
#include "Platform/System.h"

namespace platform::linux_ {

class LinuxSystem : public System {
 public:
  /// Files are opened under these scopes, which must outlive the object.
  explicit LinuxSystem(SecurityScopes& scopes) : scopes_(scopes) {}

  unsigned getuid() const override;
  std::optional<std::string> homeDirectoryFromPasswordDatabase(unsigned uid) const override;

  std::string machineIdentifier() const override;

  std::optional<std::string> configurationFolder() const override;
  std::optional<std::string> cachesFolder() const override;
  std::vector<std::string> userDirectories(const std::string& home) const override;

  int openForReadingAndWriting(const std::string& path) override;
  std::optional<std::int64_t> fstatSize(int descriptor) override;
  std::int64_t write(int descriptor, const void* bytes, std::size_t count) override;
  int close(int descriptor) override;

  void srandomdev() override;
  std::int64_t random() override;

 private:
  SecurityScopes& scopes_;
};

}  // namespace platform::linux_
