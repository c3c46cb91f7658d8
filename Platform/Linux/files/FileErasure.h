// Removes single files, links and special files from open folders; a file's data is overwritten first if that is
// wanted.
//
// Overwriting never reaches data that something else still needs: it goes through one descriptor, which was opened over
// no link and on the folder's own mount, and only when the file has no other name. It never fills a file's holes, so it
// takes no more disk space than the file has. An object is used by one thread.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/FileManager.h"

namespace platform::linux_ {

class FileErasure {
 public:
  /// What became of a file.
  enum class Outcome { kRemoved, kGone, kIsFolder, kNotOverwritten, kOnOtherMount, kFailed };

  explicit FileErasure(Overwriting overwriting);

  /// Removes the item `name` of an open folder, unless it is a folder. kGone: there was none.
  Outcome erase(int folder, const std::string& name);

  /// The bytes that all files that were removed so far have freed: the smaller of a file's size and its disk space.
  std::uint64_t freedBytes() const { return freedBytes_; }

  /// The reason for the last outcome that is kNotOverwritten, kOnOtherMount or kFailed.
  std::error_code error() const { return error_; }

 private:
  Outcome unlink(int folder, const std::string& name, const struct stat& status);
  std::optional<Outcome> eraseOnce(int folder, const std::string& name);
  Outcome unlinkWithoutOverwriting(int folder, const std::string& name, std::error_code error);
  /// Absent when another file has taken the name meanwhile.
  std::optional<Outcome> overwriteAndUnlink(int folder, const std::string& name, int file);
  Outcome failed(Outcome outcome, std::error_code error);
  std::error_code overwrite(int file, std::uint64_t size);
  void preparePatterns(std::uint64_t size);

  const Overwriting overwriting_;
  std::unique_ptr<std::byte[]> patterns_;  // one block for each pass
  std::size_t block_ = 0;                  // bytes in one; as many as the largest file so far has had use for
  std::uint64_t freedBytes_ = 0;
  std::error_code error_;
};

}  // namespace platform::linux_
