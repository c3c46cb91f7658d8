// LevelDB files with sizes that exceed the file, or the limits.

#include <malloc.h>
#include <snappy.h>

#include <cstdlib>

#include "Worker/formats/leveldb/LevelLog.h"
#include "tests/Worker/formats/leveldb/LevelDatabaseTest.h"
#include "tests/support/MemoryLimit.h"

namespace {

using ::testing::IsEmpty;
using ::testing::Optional;
using testing_support::LevelDatabaseTest;
using testing_support::succeedsWithMemory;
using tidewell::appendFixedNumber;
using tidewell::appendNumber;
using tidewell::appendText;
using tidewell::LevelKey;

std::string compressed(const std::string& bytes) {
  std::string result;
  snappy::Compress(bytes.data(), bytes.size(), &result);
  return result;
}

/// A block with one entry.
std::string blockOf(const std::string& key, const std::string& value) {
  std::string block;
  for (const std::size_t size : {std::size_t{0}, key.size(), value.size()}) appendNumber(block, size);
  block += key + value;
  appendFixedNumber(block, 0, 4);
  appendFixedNumber(block, 1, 4);
  return block;
}

std::string handleOf(std::uint64_t offset, std::uint64_t size) {
  std::string handle;
  appendNumber(handle, offset);
  appendNumber(handle, size);
  return handle;
}

std::string withTrailer(const std::string& block, char compression) {
  std::string bytes = block + compression;
  appendFixedNumber(bytes, tidewell::levelChecksum(block, {&compression, 1}), 4);
  return bytes;
}

std::string footerFor(const std::string& handle) {
  std::string footer = std::string(2, '\0') + handle;
  footer.resize(40);
  appendFixedNumber(footer, 0xdb4775248b80fb57, 8);
  return footer;
}

/// A table of one block, correct except for what the block contains.
std::string tableOf(const std::string& block, char compression) {
  const std::string index = blockOf(LevelKey{"z", 1, false}.bytes(), handleOf(0, block.size()));
  std::string table = withTrailer(block, compression);
  const std::string handle = handleOf(table.size(), index.size());
  return table + withTrailer(index, 0) + footerFor(handle);
}

class OversizedLevel : public LevelDatabaseTest {
 protected:
  /// Makes a database without a manifest, so that every table in the folder counts.
  void make(const std::vector<std::string>& tables) {
    std::filesystem::remove_all(folder);
    for (std::size_t index = 0; index < tables.size(); ++index) {
      write(folder + "/00000" + std::to_string(index) + ".ldb", tables[index]);
    }
  }

  /// Makes a database with keys of 5 MB that begin alike, and others. As many go into one table as fit in `buffer`.
  /// With TIDEWELL_LONG_KEYS set, there are so many of them.
  void fillWithLongKeys(std::size_t buffer) {
    ::mallopt(M_MMAP_THRESHOLD, kMegabyte);  // or memory that is freed here would not count in tests of what is taken
    const std::string start = "_https://site" + std::string(5 * kMegabyte, 'x');
    leveldb::Options options;
    options.write_buffer_size = buffer;
    put({{"kept", "value"}, {"_https://other", "mark"}});
    open(
        [&](leveldb::DB& database) {
          const char* wanted = std::getenv("TIDEWELL_LONG_KEYS");
          for (int number = wanted != nullptr ? std::atoi(wanted) : 20; number > 0; --number) {
            ASSERT_TRUE(database.Put({}, start + std::to_string(1000 + number), "mark").ok());
          }
        },
        options);
    open([](leveldb::DB&) {}, options);  // writes all keys into one record of the manifest
  }

  static constexpr std::size_t kMegabyte = std::size_t{1} << 20;
  const std::string key = LevelKey{"kept", 7, false}.bytes();
};

TEST_F(OversizedLevel, aTableMadeByHandIsReadWhenItIsWhole) {  // or the other cases would prove nothing
  for (const char compression : {'\0', '\1'}) {
    const std::string block = blockOf(key, "value");
    make({tableOf(compression == '\0' ? block : compressed(block), compression)});
    EXPECT_EQ(keep("kept"), Outcome::kRewritten);
    EXPECT_THAT(inLibrary(), Optional(Entries{{"kept", "value"}}));
  }
}

TEST_F(OversizedLevel, anImpossibleLengthBeforeCompressionIsDamage) {
  std::string claim;
  appendNumber(claim, 0xffffffff);
  make({tableOf(claim + std::string(1000, 'a'), 1)});
  EXPECT_EQ(keep("precious"), Outcome::kRemoved);
}

TEST_F(OversizedLevel, aBlockThatGrowsBeyondTheBoundGoesWithItsDatabase) {
  make({tableOf(compressed(blockOf(key, std::string(65 << 20, 'x'))), 1)});
  EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
  EXPECT_TRUE(succeedsWithMemory(32 * kMegabyte, [&] { return keep("nobody") == Outcome::kRemoved; }));
}

TEST_F(OversizedLevel, aBlockThatGrowsBeyondTheBoundStaysWhereSomethingPreciousIsInIt) {
  const std::string hidden = std::string(65 << 20, 'x') + "a word, words: words worth";  // in the table, in pieces
  for (const std::string& precious : {std::string("kept"), std::string("words worth")}) {
    make({tableOf(compressed(blockOf(key, hidden)), 1)});
    EXPECT_TRUE(succeedsWithMemory(32 * kMegabyte, [&] { return keep(precious) == Outcome::kLeft; })) << precious;
    EXPECT_THAT(removed, IsEmpty());
  }
}

TEST_F(OversizedLevel, manyLargeBlocksAtOnceGoUnlessSomethingPreciousIsInThem) {
  const std::string block = compressed(blockOf(key, std::string(60 << 20, 'x')));
  make({tableOf(block, 1)});
  EXPECT_EQ(keep("kept"), Outcome::kRewritten);
  make(std::vector<std::string>(6, tableOf(block, 1)));
  EXPECT_EQ(keep("kept"), Outcome::kLeft);
  EXPECT_EQ(keep("nobody"), Outcome::kRemoved);
}

TEST_F(OversizedLevel, aKeyIsSearchedWithTheBeginningThatItSharesWithTheOneBefore) {
  std::string block;
  const auto add = [&block](std::size_t shared, const std::string& rest, const std::string& value) {
    for (const std::size_t size : {shared, rest.size(), value.size()}) appendNumber(block, size);
    block += rest + value;
  };
  add(0, LevelKey{"precarious", 9, false}.bytes(), "value");
  add(4, LevelKey{"ious", 8, false}.bytes(), std::string(65 << 20, 'x'));
  appendFixedNumber(block, 0, 4);
  appendFixedNumber(block, 1, 4);
  make({tableOf(block, 0)});
  EXPECT_EQ(keep("precious"), Outcome::kLeft);
  EXPECT_EQ(keep("previous"), Outcome::kRemoved);
}

TEST_F(OversizedLevel, aCompressionOfALaterTimeIsLeftAlone) {
  make({tableOf("whatever this is", 2)});
  EXPECT_EQ(keep("nobody"), Outcome::kLeft);
}

TEST_F(OversizedLevel, placesBeyondTheFileAreDamage) {
  const std::string block = withTrailer(blockOf(key, "value"), 0);
  const std::uint64_t all = ~std::uint64_t{0};
  for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{1} << 40, all - 3, all}) {
    for (const std::uint64_t size : {block.size() - 4, std::size_t{1} << 30, std::size_t{1} << 62, all - 4, all}) {
      make({block + footerFor(handleOf(offset, size))});
      EXPECT_EQ(keep("precious"), Outcome::kRemoved) << offset << " " << size;
    }
  }
}

TEST_F(OversizedLevel, lengthsBeyondTheBlockAreDamage) {
  for (const std::uint64_t length : {std::uint64_t{20}, std::uint64_t{1} << 32, ~std::uint64_t{0}}) {
    for (int which = 0; which < 3; ++which) {
      std::string block;
      for (int field = 0; field < 3; ++field) appendNumber(block, field == which ? length : 0);
      appendFixedNumber(block, 0, 4);
      appendFixedNumber(block, 1, 4);
      make({tableOf(block, 0)});
      EXPECT_EQ(keep("precious"), Outcome::kRemoved) << length << " " << which;
    }
  }
  for (const std::uint64_t places : {std::uint64_t{0}, std::uint64_t{3}, std::uint64_t{0xffffffff}}) {
    std::string block;
    appendFixedNumber(block, 0, 4);
    appendFixedNumber(block, places, 4);
    make({tableOf(block, 0)});
    EXPECT_EQ(keep("precious"), Outcome::kRemoved) << places;
  }
}

TEST_F(OversizedLevel, aRecordBeyondTheBoundGoesUnlessSomethingPreciousIsInIt) {
  constexpr std::size_t kBlock = 32768;
  std::string value(65 * kMegabyte, 'x');
  value.replace(kBlock - 32, 16, "precious-anyway-");  // the end of the block comes between
  put({{"kept", value}});
  ASSERT_EQ(content(pathOf(".log")).find("precious-anyway-"), std::string::npos);
  EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
  EXPECT_TRUE(succeedsWithMemory(160 * kMegabyte, [&] { return keep("precious-anyway-") == Outcome::kLeft; }));
  EXPECT_TRUE(succeedsWithMemory(160 * kMegabyte, [&] { return keep("nobody") == Outcome::kRemoved; }));
}

TEST_F(OversizedLevel, longKeysNeitherStopTheCleaningNorTakeMemory) {
  fillWithLongKeys(kMegabyte);
  EXPECT_TRUE(succeedsWithMemory(64 * kMegabyte, [&] { return keep("kept") == Outcome::kRewritten; }));
  EXPECT_TRUE(inLibrary() == Entries({{"kept", "value"}}));  // not printed: the keys are long
}

TEST_F(OversizedLevel, longKeysDoNotStopTheCleaningWhereOneTableHasManyEither) {
  fillWithLongKeys(256 * kMegabyte);
  EXPECT_TRUE(succeedsWithMemory(64 * kMegabyte, [&] { return keep("kept") == Outcome::kRewritten; }));
  EXPECT_TRUE(inLibrary() == Entries({{"kept", "value"}}));  // not printed: the keys are long
}

TEST_F(OversizedLevel, aLogOfTooManyEntriesGoesUnlessSomethingPreciousIsInIt) {
  constexpr std::uint64_t kCount = 2'000'000;
  std::string batch;
  appendFixedNumber(batch, 1, 8);
  appendFixedNumber(batch, kCount, 4);
  for (std::uint64_t index = 0; index < kCount; ++index) {
    batch += '\1';
    appendText(batch, std::to_string(index));
    appendText(batch, "");
  }
  std::string log;
  tidewell::appendLevelRecord(log, batch);
  write(folder + "/000005.log", log);
  EXPECT_EQ(keep("1999999"), Outcome::kLeft);
  EXPECT_EQ(keep("kept"), Outcome::kRemoved);
}

}  // namespace
