#include "Worker/formats/leveldb/LevelWriter.h"

#include <leveldb/comparator.h>
#include <leveldb/env.h>
#include <leveldb/options.h>
#include <leveldb/table_builder.h>

#include <cinttypes>
#include <cstdio>
#include <utility>

#include "Platform/Path.h"
#include "Platform/Platform.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr std::uint64_t kTableSize = 2 << 20;  // bytes, about
constexpr unsigned kPermissions = 0600;
constexpr std::uint64_t kLowestLevel = 2;  // where LevelDB puts tables that overlap nothing
constexpr std::uint64_t kHighestLevel = 6;
constexpr std::uint64_t kLevelSize = std::uint64_t{100} << 20;  // bytes in that level; each above has ten times as much

/// "000007" and the like. Six digits at least.
std::string inName(std::uint64_t number) {
  char text[24];
  std::snprintf(text, sizeof text, "%06" PRIu64, number);
  return text;
}

/// The keys in the tables' indexes are not shortened: that would save little.
class KeyOrder : public leveldb::Comparator {
 public:
  int Compare(const leveldb::Slice& one, const leveldb::Slice& other) const override {
    return compareLevelKeys({one.data(), one.size()}, {other.data(), other.size()});
  }
  const char* Name() const override { return "leveldb.InternalKeyComparator"; }
  void FindShortestSeparator(std::string*, const leveldb::Slice&) const override {}
  void FindShortSuccessor(std::string*) const override {}
};

class MemoryFile : public leveldb::WritableFile {
 public:
  leveldb::Status Append(const leveldb::Slice& data) override {
    contents.append(data.data(), data.size());
    return leveldb::Status::OK();
  }
  leveldb::Status Close() override { return leveldb::Status::OK(); }
  leveldb::Status Flush() override { return leveldb::Status::OK(); }
  leveldb::Status Sync() override { return leveldb::Status::OK(); }

  std::string contents;
};

leveldb::Options tableOptions() {
  static const KeyOrder order;
  leveldb::Options options;
  options.comparator = &order;
  return options;
}

}  // namespace

struct LevelWriter::Table {
  ~Table() {
    if (!isFinished) builder.Abandon();
  }

  MemoryFile file;
  leveldb::TableBuilder builder{tableOptions(), &file};
  std::string smallest, largest;
  bool isFinished = false;
};

LevelWriter::LevelWriter(std::string folder, std::uint64_t firstNumber)
    : folder_(std::move(folder)), manifestNumber_(firstNumber), nextNumber_(firstNumber + 1) {}

LevelWriter::~LevelWriter() = default;

std::error_code LevelWriter::add(std::string_view key, std::string_view value) {
  if (!table_) table_ = std::make_unique<Table>();
  const std::string whole = LevelKey{key, ++manifest_.lastSequence, false}.bytes();
  if (table_->smallest.empty()) table_->smallest = whole;
  table_->largest = whole;
  table_->builder.Add(whole, {value.data(), value.size()});
  return table_->builder.FileSize() >= kTableSize ? finishTable() : std::error_code();
}

std::error_code LevelWriter::finishTable() {
  table_->isFinished = true;
  if (!table_->builder.Finish().ok()) return std::make_error_code(std::errc::io_error);
  const std::unique_ptr<Table> table = std::move(table_);
  const std::uint64_t number = nextNumber_++;
  manifest_.tables.emplace(number, LevelManifest::Table{kLowestLevel, table->file.contents.size(),
                                                        std::move(table->smallest), std::move(table->largest)});
  return create(inName(number) + ".ldb", table->file.contents);
}

std::error_code LevelWriter::finish() {
  if (table_) {
    if (const std::error_code error = finishTable()) return error;
  }
  std::uint64_t size = 0;
  for (const auto& [number, table] : manifest_.tables) size += table.size;
  std::uint64_t level = kLowestLevel;
  for (std::uint64_t room = kLevelSize; size > room && level < kHighestLevel; room *= 10) ++level;
  for (auto& [number, table] : manifest_.tables) table.level = level;
  manifest_.nextNumber = nextNumber_;
  manifest_.firstLog = manifestNumber_;  // there is no log; logs of lower numbers are not part of the database
  return create("MANIFEST-" + inName(manifestNumber_), manifest_.bytes());
}

std::error_code LevelWriter::makeCurrent() {
  return create("CURRENT", current());
}

platform::Result<std::string> LevelWriter::exchangeCurrent() {
  const std::string name = inName(manifestNumber_) + ".dbtmp";  // LevelDB's own name for such a file; it removes it
  if (const std::error_code error = create(name, current())) return error;
  const std::string path = platform::appendingPathComponent(folder_, name);
  const std::error_code error = Platform::current().fileManagerOnOneMount.exchangeItems(
      platform::appendingPathComponent(folder_, "CURRENT"), path);
  if (!error) return path;
  Platform::current().fileManagerOnOneMount.removeItem(path);
  return error;
}

std::string LevelWriter::current() const {
  return "MANIFEST-" + inName(manifestNumber_) + "\n";
}

std::error_code LevelWriter::makeLock() {
  return create("LOCK", "");
}

std::error_code LevelWriter::create(const std::string& name, std::string_view contents) {
  const std::string path = platform::appendingPathComponent(folder_, name);
  const std::error_code error = Platform::current().fileManagerOnOneMount.createFile(path, contents, kPermissions);
  if (!error) created_.push_back(path);
  return error;
}

void LevelWriter::takeBack() {
  for (const std::string& path : created_) Platform::current().fileManagerOnOneMount.removeItem(path);
  created_.clear();
}

}  // namespace tidewell
