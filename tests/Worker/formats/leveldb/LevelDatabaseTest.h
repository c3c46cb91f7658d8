// Databases that the LevelDB library writes to a granted folder and reads back.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <leveldb/db.h>
#include <leveldb/write_batch.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Worker/formats/leveldb/LevelDatabase.h"
#include "Worker/formats/leveldb/LevelReading.h"
#include "tests/support/TestPlatform.h"

namespace testing_support {

/// The real file manager, which counts operations and lets them fail on demand.
class FailingFileManager : public platform::linux_::LinuxFileManager {
 public:
  using LinuxFileManager::LinuxFileManager;

  int operations = 0;       // so far
  int failsFrom = 1 << 30;  // the number of the first that fails
  int failures = 1;         // how many fail
  bool canExchange = true;  // as most file systems
  std::string failing;      // if set, only operations of this name count

  platform::Result<std::unique_ptr<platform::ReadableFile>> readableFile(const std::string& path) const override {
    if (fails("read")) return std::errc::io_error;
    return LinuxFileManager::readableFile(path);
  }
  platform::Result<std::vector<std::string>> contentsOfDirectory(const std::string& path) const override {
    if (fails("list")) return std::errc::io_error;
    return LinuxFileManager::contentsOfDirectory(path);
  }
  platform::Result<platform::Value::Dictionary> attributesOfItem(const std::string& path) const override {
    if (fails("look")) return std::errc::io_error;
    return LinuxFileManager::attributesOfItem(path);
  }
  std::error_code createFolder(const std::string& path) override {
    return fails("folder") ? failure() : LinuxFileManager::createFolder(path);
  }
  std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) override {
    return fails("file") ? failure() : LinuxFileManager::createFile(path, contents, permissions);
  }
  std::error_code exchangeItems(const std::string& path, const std::string& other) override {
    if (!canExchange) return std::make_error_code(std::errc::not_supported);
    return fails("exchange") ? failure() : LinuxFileManager::exchangeItems(path, other);
  }
  platform::Result<std::unique_ptr<platform::FileLock>> lockFile(const std::string& path) override {
    if (fails("lock")) return std::errc::io_error;
    return LinuxFileManager::lockFile(path);
  }
  platform::Erasure removeItem(const std::string& path) override {
    if (!fails("remove")) return LinuxFileManager::removeItem(path);
    platform::Erasure erasure;
    erasure.error = failure();
    return erasure;
  }

 private:
  bool fails(const std::string& operation) const {
    if (!failing.empty() && failing != operation) return false;
    int& count = const_cast<FailingFileManager*>(this)->operations;
    const int index = count++;
    return index >= failsFrom && index - failsFrom < failures;
  }
  static std::error_code failure() { return std::make_error_code(std::errc::io_error); }
};

class LevelDatabaseTest : public ::testing::Test {
 protected:
  using Entries = std::map<std::string, std::string>;
  using LevelDatabase = tidewell::LevelDatabase;
  using LevelReading = tidewell::LevelReading;
  using Outcome = LevelDatabase::Outcome;

  LevelDatabaseTest() {
    platform.scopes.openForProcess(platform::FileURL(platform.home.path(), true));
    const platform::Platform& p = platform::Platform::current();
    withFailures = std::make_unique<platform::Platform>(platform::Platform{
        p.mainBundle, p.dispatch, files, files, p.log, p.openPanel, p.securityScopedResources, p.system, p.userDefaults,
        p.userNotificationCenter, p.userScripts, p.workspace, p.cells, p.confinement});
    platform::Platform::install(withFailures.get());
    std::filesystem::create_directories(folder.substr(0, folder.rfind('/')));
  }

  /// Opens the database with LevelDB, which creates it when it is missing, and calls the function with it.
  void open(const std::function<void(leveldb::DB&)>& use, leveldb::Options options = {}) {
    options.create_if_missing = true;
    leveldb::DB* opened = nullptr;
    const leveldb::Status status = leveldb::DB::Open(options, folder, &opened);
    const std::unique_ptr<leveldb::DB> database(opened);
    ASSERT_TRUE(status.ok()) << status.ToString();
    use(*database);
  }
  void put(const Entries& entries, leveldb::Options options = {}) {
    open(
        [&](leveldb::DB& database) {
          for (const auto& [key, value] : entries) ASSERT_TRUE(database.Put({}, key, value).ok());
        },
        options);
  }
  /// The entries that LevelDB reads, with all of its checks; absent when it can't open the database. Reads a copy.
  std::optional<Entries> inLibrary(leveldb::Options options = {});

  static Outcome keepOnly(const std::string& folder, LevelReading::Selection isKept, LevelReading::Search isPrecious,
                          const LevelDatabase::Removal& remove, const std::vector<std::string>& othersFolders = {}) {
    LevelReading reader(std::move(isKept), std::move(isPrecious));
    return LevelDatabase::keepOnly(folder, reader, remove, othersFolders);
  }

  /// Keeps the entries whose key or value contains `wanted`.
  Outcome keep(const std::string& wanted) {
    return keepOnly(
        folder,
        [wanted](std::string_view key, std::string_view value) {
          return key.find(wanted) != std::string_view::npos || value.find(wanted) != std::string_view::npos;
        },
        [wanted](std::string_view bytes) { return bytes.find(wanted) != std::string_view::npos; },
        [this](const std::string& path) {
          removed.push_back(path);
          if (onRemove) onRemove(path);
          files.removeItem(path);
        });
  }

  bool isThere(const std::string& path) const { return std::filesystem::exists(std::filesystem::symlink_status(path)); }
  std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }
  /// The bytes of every file below the home folder.
  std::string allBytes() const {
    std::string bytes;
    for (const std::string& line : platform.home.tree()) bytes += line;
    return bytes;
  }
  std::string pathOf(const std::string& ending) const;
  std::string content(const std::string& path) const {
    return platform.home.content(path.substr(platform.home.path().size() + 1));
  }
  void write(const std::string& path, const std::string& content) const {
    platform.home.file(path.substr(platform.home.path().size() + 1), content);
  }

  TestPlatform platform;
  const std::string folder = platform.home.path("Default/Local Storage/leveldb");
  const std::string aside = folder + ".tidewell";
  FailingFileManager files{platform.scopes, platform.home.path("scripts")};
  std::vector<std::string> removed;
  std::function<void(const std::string&)> onRemove;

 private:
  std::unique_ptr<platform::Platform> withFailures;
};

/// The file in the folder whose name begins or ends with the text; empty when there is none.
inline std::string LevelDatabaseTest::pathOf(const std::string& ending) const {
  for (const std::string& name : names()) {
    if (name.ends_with(ending) || name.starts_with(ending)) return folder + "/" + name;
  }
  return {};
}

inline std::optional<LevelDatabaseTest::Entries> LevelDatabaseTest::inLibrary(leveldb::Options options) {
  const ScratchFolder scratch;
  const std::string copy = scratch.path("copy");
  std::filesystem::copy(folder, copy);
  options.paranoid_checks = true;
  leveldb::DB* opened = nullptr;
  const leveldb::Status status = leveldb::DB::Open(options, copy, &opened);
  const std::unique_ptr<leveldb::DB> database(opened);
  if (!status.ok()) return std::nullopt;
  leveldb::ReadOptions checked;
  checked.verify_checksums = true;
  const std::unique_ptr<leveldb::Iterator> iterator(database->NewIterator(checked));
  Entries entries;
  for (iterator->SeekToFirst(); iterator->Valid(); iterator->Next()) {
    entries.emplace(iterator->key().ToString(), iterator->value().ToString());
  }
  return iterator->status().ok() ? std::optional(entries) : std::nullopt;
}

}  // namespace testing_support
