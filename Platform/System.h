// The few calls of the operating system that the worker makes itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// All operations may be called from any thread.
class System {
 public:
  virtual ~System() = default;

  // The password database.

  virtual unsigned getuid() const = 0;
  /// The home folder in the user's entry; absent when there is no entry.
  virtual std::optional<std::string> homeDirectoryFromPasswordDatabase(unsigned uid) const = 0;

  // The machine.

  /// Tells this machine from others that may use the same home folder; the same after a restart. Not empty.
  virtual std::string machineIdentifier() const = 0;

  // Folders of the person's programs. Absolute paths; absent when they are in their usual places.

  /// Where the session has moved the programs' settings and data ("$XDG_CONFIG_HOME"), and their caches
  /// ("$XDG_CACHE_HOME").
  virtual std::optional<std::string> configurationFolder() const = 0;
  virtual std::optional<std::string> cachesFolder() const = 0;

  /// Every place that one of the standard folders of the person with this home (desktop, documents, downloads, …) has
  /// or could have. Whole paths; what they name need not exist.
  virtual std::vector<std::string> userDirectories(const std::string& home) const = 0;

  // File descriptors. Failures are -1, as with the system's calls.

  /// Opens an existing file for reading and writing, under the open grants like every action of FileManager.
  virtual int openForReadingAndWriting(const std::string& path) = 0;
  /// The size that fstat() gives, in bytes; absent when that fails.
  virtual std::optional<std::int64_t> fstatSize(int descriptor) = 0;
  /// The count of bytes written, or -1.
  virtual std::int64_t write(int descriptor, const void* bytes, std::size_t count) = 0;
  /// 0, or -1.
  virtual int close(int descriptor) = 0;

  // The process-wide random number generator.

  /// Seeds random() from the system's entropy.
  virtual void srandomdev() = 0;
  /// From 0 to 2^31 - 1.
  virtual std::int64_t random() = 0;
};

}  // namespace platform
