#include "tests/support/BrowserFiles.h"

#include <leveldb/db.h>
#include <leveldb/env.h>
#include <leveldb/write_batch.h>
#include <lz4.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace fs = std::filesystem;

namespace testing_support {
namespace {

constexpr std::string_view kSessionMagic("mozLz40\0", 8);
constexpr std::size_t kSessionHeader = 12;  // the magic, and the size of the text

/// Nothing is flushed to the disk: that takes long, and tests survive no power failure.
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

/// A copy of a folder, without starting a program for it.
class TemporaryCopy {
 public:
  explicit TemporaryCopy(const std::string& folder) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no scratch folder");
    fs::copy(folder, path_, fs::copy_options::recursive);
  }
  ~TemporaryCopy() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TemporaryCopy(const TemporaryCopy&) = delete;
  TemporaryCopy& operator=(const TemporaryCopy&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/tmp/tidewell-copy-XXXXXX";
};

std::unique_ptr<leveldb::DB> opened(const std::string& folder, leveldb::Options options) {
  static UnflushedFiles files;
  options.env = &files;
  leveldb::DB* database = nullptr;
  return leveldb::DB::Open(options, folder, &database).ok() ? std::unique_ptr<leveldb::DB>(database) : nullptr;
}

/// A field of a protocol buffer with a text of fewer than 128 bytes.
std::string field(int number, const std::string& text) {
  return {static_cast<char>(number << 3 | 2), static_cast<char>(text.size())};
}

}  // namespace

void putInLevelDatabase(const std::string& folder, const LevelEntries& entries) {
  fs::create_directories(fs::path(folder).parent_path());
  leveldb::Options options;
  options.create_if_missing = true;
  const auto database = opened(folder, options);
  if (!database) throw std::runtime_error("no LevelDB " + folder);
  leveldb::WriteBatch batch;
  for (const auto& [key, value] : entries) batch.Put(key, value);
  if (!database->Write({}, &batch).ok()) throw std::runtime_error("can't write " + folder);
}

std::optional<LevelEntries> levelEntriesOf(const std::string& folder) {
  const TemporaryCopy copy(folder);
  leveldb::Options options;
  options.paranoid_checks = true;
  const auto database = opened(copy.path(), options);
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

std::string cacheStorageIndexOf(const std::string& origin) {
  const std::string name = "chrome-extension";  // sites name their caches as they like
  const std::string cache = field(1, name) + name;
  return field(1, cache) + cache + field(2, origin) + origin + field(3, origin) + origin + "\x20\x01\x28\x01";
}

}  // namespace testing_support
