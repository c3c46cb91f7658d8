#include "Worker/formats/leveldb/LevelWriter.h"

#include <leveldb/comparator.h>
#include <leveldb/env.h>
#include <leveldb/options.h>
#include <leveldb/table_builder.h>

#include <string>
#include <utility>

namespace tidewell {
namespace {

constexpr std::uint64_t kTableSize = 2 << 20;  // bytes, about
constexpr std::uint64_t kLowestLevel = 2;      // where LevelDB puts tables that overlap nothing
constexpr std::uint64_t kHighestLevel = 6;
constexpr std::uint64_t kLevelSize = std::uint64_t{100} << 20;  // bytes in that level; each above has ten times as much

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

LevelWriter::LevelWriter(LevelOutput& output, std::uint64_t firstNumber)
    : output_(output), firstNumber_(firstNumber), nextNumber_(firstNumber + 1) {}

LevelWriter::~LevelWriter() = default;

void LevelWriter::prepare() {
  tableOptions();
}

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
  return output_.addTable(table->file.contents);
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
  manifest_.firstLog = firstNumber_;  // there is no log; logs of lower numbers are not part of the database
  return output_.addManifest(manifest_.bytes());
}

}  // namespace tidewell
