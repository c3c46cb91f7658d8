// The files of a fresh LevelDB database on their way to the place of another one.
//
// They are written through the platform's files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Platform/Result.h"
#include "Worker/formats/leveldb/LevelFolder.h"
#include "Worker/formats/leveldb/LevelWriter.h"

namespace tidewell {

class FreshLevelFiles : public LevelOutput {
 public:
  /// They are written to a folder that exists. `firstNumber` and all above it are free as numbers of files.
  FreshLevelFiles(std::string folder, std::uint64_t firstNumber);

  // After the first error only takeBack() may be called.

  std::error_code addTable(std::string_view contents) override;
  std::error_code addManifest(std::string_view contents) override;

  /// The database that these files would be. The object must outlive it.
  LevelFolder asFolder() const;

  /// Makes them the database.
  std::error_code makeCurrent();

  /// Makes them the database in the place of the one that is there, in one step, and returns where the file is that has
  /// made that one the database. std::errc::not_supported where the file system can't: all is as it was.
  platform::Result<std::string> exchangeCurrent();

  /// Writes the file that processes lock, as LevelDB would when it opens the database.
  std::error_code makeLock();

  /// Removes the files that were written. Those that can't be removed are part of no database.
  void takeBack();

 private:
  /// The bytes of the file that names the manifest, as if it were there.
  class Current : public LevelBytes {
   public:
    explicit Current(std::string line) : line_(std::move(line)) {}
    const std::string& line() const { return line_; }
    platform::Result<std::string> read(const std::string&, std::uint64_t offset, std::size_t count) const override {
      return offset < line_.size() ? line_.substr(offset, count) : std::string();
    }

   private:
    const std::string line_;
  };

  std::error_code create(const std::string& name, std::string_view contents);

  const std::string folder_;
  const std::uint64_t firstNumber_;
  const Current current_;
  LevelFolder fresh_;
  std::vector<std::string> created_;
};

}  // namespace tidewell
