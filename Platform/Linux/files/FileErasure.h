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
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "Platform/FileManager.h"
#include "Platform/Linux/host/FileDescriptor.h"

namespace platform::linux_ {

class FileErasure {
 public:
  /// What became of a file.
  enum class Outcome { kRemoved, kGone, kIsFolder, kNotOverwritten, kOnOtherMount, kFailed };

  explicit FileErasure(Overwriting overwriting);

  /// Removes the item `name` of an open folder, unless it is a folder. kGone: there was none.
  Outcome erase(int folder, const std::string& name);

  using Tell = std::function<void(const std::string& name, Outcome outcome)>;

  /// The same for several names. What is overwritten is on its way to the disk while the next ones are written, and is
  /// waited for in that order.
  void erase(int folder, std::span<const std::string> names, const Tell& tell);

  /// The bytes that all files that were removed so far have freed: the smaller of a file's size and its disk space.
  std::uint64_t freedBytes() const { return freedBytes_; }

  /// The reason for the last outcome that is kNotOverwritten, kOnOtherMount or kFailed.
  std::error_code error() const { return error_; }

 private:
  /// An overwritten file whose new bytes may not be on the disk yet.
  struct Unflushed {
    FileDescriptor file = {};
    std::string name = {};
    struct stat status = {};
  };

  Outcome unlink(int folder, const std::string& name, const struct stat& status);
  /// Does what goes before the flush. Absent when `unflushed` has a file, which is to be finished, and when another one
  /// has taken the name meanwhile.
  std::optional<Outcome> begin(int folder, const std::string& name, Unflushed& unflushed);
  std::optional<Outcome> overwriteOpened(int folder, Unflushed& unflushed);
  /// Absent when another file has taken the name meanwhile.
  std::optional<Outcome> finish(int folder, const Unflushed& unflushed);
  Outcome unlinkWithoutOverwriting(int folder, const std::string& name, std::error_code error);
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
