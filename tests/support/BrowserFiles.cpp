#include "tests/support/BrowserFiles.h"

#include <leveldb/db.h>
#include <leveldb/env.h>
#include <leveldb/write_batch.h>
#include <lz4.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace fs = std::filesystem;

namespace testing_support {
namespace {

constexpr std::string_view kSessionMagic("mozLz40\0", 8);
constexpr std::size_t kSessionHeader = 12;  // the magic, and the size of the text

/// Never flushes: that takes long, and tests needn't survive a power failure.
class UnflushedFile : public leveldb::WritableFile {
 public:
  explicit UnflushedFile(leveldb::WritableFile* file) : file_(file) {}
  leveldb::Status Append(const leveldb::Slice& data) override { return file_->Append(data); }
  leveldb::Status Close() override { return file_->Close(); }
  leveldb::Status Flush() override { return file_->Flush(); }
  leveldb::Status Sync() override { return file_->Flush(); }

 private:
  const std::unique_ptr<leveldb::WritableFile> file_;
};

class UnflushedFiles : public leveldb::EnvWrapper {
 public:
  UnflushedFiles() : EnvWrapper(Default()) {}
  leveldb::Status NewWritableFile(const std::string& name, leveldb::WritableFile** result) override {
    leveldb::WritableFile* file = nullptr;
    leveldb::Status status = EnvWrapper::NewWritableFile(name, &file);
    *result = status.ok() ? new UnflushedFile(file) : nullptr;
    return status;
  }
};

class TemporaryFolder {
 public:
  TemporaryFolder() {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no scratch folder");
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/tmp/tidewell-leveldb-XXXXXX";
};

using FilesOfFolder = std::map<std::string, std::string>;  // name to bytes

FilesOfFolder filesIn(const std::string& folder) {
  FilesOfFolder files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    std::ostringstream bytes;
    if (entry.is_regular_file()) bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    // LOG is the library's own log, with times, and no part of the database.
    if (entry.is_regular_file() && entry.path().filename() != "LOG") files[entry.path().filename()] = bytes.str();
  }
  return files;
}

std::unique_ptr<leveldb::DB> opened(const std::string& folder, leveldb::Options options) {
  static UnflushedFiles files;
  options.env = &files;
  leveldb::DB* database = nullptr;
  return leveldb::DB::Open(options, folder, &database).ok() ? std::unique_ptr<leveldb::DB>(database) : nullptr;
}

void writeWithLibrary(const std::string& folder, const LevelEntries& entries) {
  fs::create_directories(fs::path(folder).parent_path());
  leveldb::Options options;
  options.create_if_missing = true;
  const auto database = opened(folder, options);
  if (!database) throw std::runtime_error("no LevelDB " + folder);
  leveldb::WriteBatch batch;
  for (const auto& [key, value] : entries) batch.Put(key, value);
  if (!database->Write({}, &batch).ok()) throw std::runtime_error("can't write " + folder);
}

std::optional<LevelEntries> readWithLibrary(const std::string& folder) {
  leveldb::Options options;
  options.paranoid_checks = true;
  const auto database = opened(folder, options);
  if (!database) return std::nullopt;
  leveldb::ReadOptions checked;
  checked.verify_checksums = true;
  const std::unique_ptr<leveldb::Iterator> iterator(database->NewIterator(checked));
  LevelEntries entries;
  for (iterator->SeekToFirst(); iterator->Valid(); iterator->Next()) {
    entries.emplace(iterator->key().ToString(), iterator->value().ToString());
  }
  return iterator->status().ok() ? std::optional(entries) : std::nullopt;
}

/// A field of a protocol buffer with a text of fewer than 128 bytes.
std::string field(int number, const std::string& text) {
  return {static_cast<char>(number << 3 | 2), static_cast<char>(text.size())};
}

}  // namespace

void putInLevelDatabase(const std::string& folder, const LevelEntries& entries) {
  if (fs::exists(folder)) return writeWithLibrary(folder, entries);
  // Tests ask for the same databases many times, so each is made once.
  static std::map<LevelEntries, FilesOfFolder> made;
  FilesOfFolder& files = made[entries];
  if (files.empty()) {
    const TemporaryFolder scratch;
    writeWithLibrary(scratch.path() + "/database", entries);
    files = filesIn(scratch.path() + "/database");
  }
  fs::create_directories(folder);
  for (const auto& [name, bytes] : files) std::ofstream(folder + "/" + name, std::ios::binary) << bytes;
  std::ofstream(folder + "/LOG") << "2026/01/01-00:00:00.000001 1 Creating DB " << folder << " since it was missing.\n";
}

std::optional<LevelEntries> levelEntriesOf(const std::string& folder) {
  static std::map<FilesOfFolder, std::optional<LevelEntries>> known;
  const FilesOfFolder files = filesIn(folder);
  if (const auto found = known.find(files); found != known.end()) return found->second;
  const TemporaryFolder scratch;
  for (const auto& [name, bytes] : files) std::ofstream(scratch.path() + "/" + name, std::ios::binary) << bytes;
  return known[files] = readWithLibrary(scratch.path());
}

std::string packedSession(const std::string& text) {
  std::string file(kSessionMagic);
  for (int shift = 0; shift < 32; shift += 8) file += static_cast<char>(text.size() >> shift);
  const int size = static_cast<int>(text.size());
  file.resize(kSessionHeader + static_cast<std::size_t>(LZ4_compressBound(size)));
  const int packed = LZ4_compress_default(text.data(), file.data() + kSessionHeader, size,
                                          static_cast<int>(file.size() - kSessionHeader));
  file.resize(kSessionHeader + static_cast<std::size_t>(packed));
  return file;
}

std::string unpackedSession(const std::string& file) {
  if (file.size() < kSessionHeader || !file.starts_with(kSessionMagic)) return {};
  std::size_t size = 0;
  for (std::size_t at = kSessionHeader; at-- > kSessionMagic.size();) {
    size = size << 8 | static_cast<unsigned char>(file[at]);
  }
  std::string text(size, '\0');
  const int unpacked = LZ4_decompress_safe(file.data() + kSessionHeader, text.data(),
                                           static_cast<int>(file.size() - kSessionHeader), static_cast<int>(size));
  return unpacked == static_cast<int>(size) ? text : std::string();
}

std::string cacheStorageIndexOf(const std::string& origin, const std::string& storageKey) {
  const std::string& key = storageKey.empty() ? origin : storageKey;
  const std::string name = "chrome-extension";  // a site may choose this name for its cache
  const std::string cache = field(1, name) + name;
  return field(1, cache) + cache + field(2, origin) + origin + field(3, key) + key + "\x20\x01\x28\x01";
}

}  // namespace testing_support
