// A LevelDB folder with any content: nothing else is changed, and a rewritten folder is a database that LevelDB reads
// and that holds the chosen entries only.
//
// The input is a series of files (level_input.h). Random bytes would fail at the checksums, so logs, manifests and
// tables can be given without them, and are then written with correct ones.

#include <leveldb/db.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "Worker/formats/leveldb/LevelDatabase.h"
#include "Worker/formats/leveldb/LevelLog.h"
#include "Worker/formats/leveldb/LevelReading.h"
#include "tests/fuzz/level_input.h"
#include "tests/support/TestPlatform.h"

namespace {

using fuzz::LevelForm;
using fuzz::LevelInput;
using tidewell::LevelDatabase;
using Entries = std::map<std::string, std::string>;
using Outcome = LevelDatabase::Outcome;

constexpr std::array kNames = {"CURRENT",    "LOCK",       "LOG",        "MANIFEST-000001", "MANIFEST-000009",
                               "000003.log", "000004.log", "000005.ldb", "000006.ldb",      "000007.sst",
                               "000008.ldb", "000002.ldb", "000010.log", "lost/000011.ldb", "000012.dbtmp"};
constexpr std::string_view kWanted = "k";

void require(bool holds) {
  if (!holds) std::abort();
}

std::string asRecords(std::string_view bytes) {
  LevelInput input(bytes);
  std::string file;
  while (!input.atEnd()) tidewell::appendLevelRecord(file, input.part());
  return file;
}

/// Appends a block with its checksum; returns its handle.
std::string appendBlock(std::string& file, std::string_view block, std::uint64_t compression) {
  std::string handle;
  tidewell::appendNumber(handle, file.size());
  tidewell::appendNumber(handle, block.size());
  const std::string type(1, static_cast<char>(compression));
  file.append(block).append(type);
  tidewell::appendFixedNumber(file, tidewell::levelChecksum(block, type), 4);
  return handle;
}

std::string asTable(std::string_view bytes) {
  LevelInput input(bytes);
  std::string file, index;
  while (!input.atEnd()) {
    const std::uint64_t compression = input.byte();
    const std::string handle = appendBlock(file, input.part(), compression % 4);
    index.append({'\0', '\1'});
    tidewell::appendNumber(index, handle.size());
    index.append("x").append(handle);
  }
  tidewell::appendFixedNumber(index, std::uint64_t{1} << 32, 8);  // one restart point, at the start
  std::string footer = std::string(2, '\0') + appendBlock(file, index, 0);
  footer.resize(40);
  tidewell::appendFixedNumber(footer, 0xdb4775248b80fb57, 8);
  return file + footer;
}

void makeFolder(const testing_support::ScratchFolder& home, std::string_view bytes) {
  home.file("db/CURRENT", "MANIFEST-000001\n");
  LevelInput input(bytes);
  while (!input.atEnd()) {
    const std::string name = kNames[input.byte() % kNames.size()];
    const LevelForm form = input.form();
    const std::string_view content = input.part();
    home.file("db/" + name, form == LevelForm::kRaw       ? std::string(content)
                            : form == LevelForm::kRecords ? asRecords(content)
                                                          : asTable(content));
  }
}

Entries inLibrary(const std::string& folder) {
  leveldb::Options options;
  options.paranoid_checks = true;
  leveldb::DB* opened = nullptr;
  require(leveldb::DB::Open(options, folder, &opened).ok());
  const std::unique_ptr<leveldb::DB> database(opened);
  const std::unique_ptr<leveldb::Iterator> iterator(database->NewIterator({}));
  Entries entries;
  for (iterator->SeekToFirst(); iterator->Valid(); iterator->Next()) {
    entries.emplace(iterator->key().ToString(), iterator->value().ToString());
  }
  require(iterator->status().ok());
  return entries;
}

bool isWanted(std::string_view bytes) {
  return bytes.find(kWanted) != std::string_view::npos;
}

Outcome keep(testing_support::TestPlatform& platform) {
  const auto isKept = [](std::string_view key, std::string_view value) { return isWanted(key) || isWanted(value); };
  tidewell::LevelReading reader(isKept, isWanted);
  return LevelDatabase::keepOnly(platform.home.path("db"), reader,
                                 [&](const std::string& path) { platform.fileManager.removeItem(path); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  testing_support::TestPlatform platform;
  platform.scopes.openForProcess(platform::FileURL(platform.home.path(), true));
  platform.home.file("neighbour");
  makeFolder(platform.home, {reinterpret_cast<const char*>(bytes), size});
  const std::string folder = platform.home.path("db");

  const auto before = platform.home.tree();
  auto entries = LevelDatabase::entries(folder);
  require(platform.home.tree() == before);

  const Outcome outcome = keep(platform);
  require(outcome != Outcome::kAbsent);
  require(platform.home.content("neighbour") == "content" && !platform.home.exists("db.tidewell"));
  if (outcome == Outcome::kLeft) require(platform.home.tree() == before && !entries);
  if (outcome == Outcome::kRemoved) require(!platform.home.exists("db"));
  if (entries) std::erase_if(*entries, [](const auto& entry) { return !isWanted(entry.first + entry.second); });
  if (entries) require((outcome == Outcome::kRewritten) == !entries->empty());
  if (outcome == Outcome::kRewritten) {
    const auto kept = LevelDatabase::entries(folder);
    require(kept && !kept->empty() && (!entries || kept == entries));
    const auto fresh = platform.home.tree();
    require(keep(platform) == Outcome::kRewritten && platform.home.tree() == fresh);
    require(inLibrary(folder) == *kept);
  }
  return 0;
}
