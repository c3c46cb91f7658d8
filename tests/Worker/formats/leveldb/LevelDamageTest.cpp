// Damaged databases, and folders that hold something else than a database.

#include <leveldb/comparator.h>
#include <sys/resource.h>

#include "Worker/formats/leveldb/LevelLog.h"
#include "tests/Worker/formats/leveldb/LevelDatabaseTest.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Optional;
using testing_support::LevelDatabaseTest;

class DamagedLevel : public LevelDatabaseTest {
 protected:
  DamagedLevel() {
    put(kFirst);
    open([](leveldb::DB& database) { database.CompactRange(nullptr, nullptr); });
    put(kSecond);
    fs::copy(folder, elsewhere.path("pristine"));
  }

  /// Restores the folder to its first state.
  void restore() {
    fs::remove_all(folder);
    fs::remove_all(aside);
    fs::copy(elsewhere.path("pristine"), folder);
  }
  void flip(const std::string& path, std::size_t offset, int bit) {
    std::string bytes = content(path);
    bytes[offset] = static_cast<char>(bytes[offset] ^ (1 << bit));
    write(path, bytes);
  }

  testing_support::ScratchFolder elsewhere;
  const Entries kFirst = {{"_http://gone.test\0\1a"s, std::string(3000, 'g')},
                          {"_http://kept.test\0\1a"s, std::string(3000, 'k')},
                          {"_http://other.test\0\1a"s, std::string(3000, 'o')}};
  const Entries kSecond = {{"_http://gone.test\0\1b"s, "late gone"}, {"_http://kept.test\0\1b"s, "late kept"}};
  const Entries kKept = {{"_http://kept.test\0\1a"s, std::string(3000, 'k')}, {"_http://kept.test\0\1b"s, "late kept"}};
};

TEST_F(DamagedLevel, withoutTheFilesThatNameTheOthersItIsRepaired) {
  for (const std::string& name : {"CURRENT"s, "MANIFEST-"s}) {
    restore();
    fs::remove(pathOf(name));
    EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt) << name;
    EXPECT_EQ(keep("kept.test"), Outcome::kRewritten) << name;
    EXPECT_THAT(inLibrary(), Optional(kKept)) << name;
    EXPECT_THAT(allBytes(), Not(HasSubstr("gone")));
  }
}

TEST_F(DamagedLevel, aCurrentFileThatNamesNoManifestIsRepaired) {
  for (const std::string& text : {"MANIFEST-999999\n"s, "MANIFEST-000004"s, "../leveldb/CURRENT\n"s, "/etc/passwd\n"s,
                                  ""s, "\n"s, "\0\0\0\0"s, std::string(100'000, 'x')}) {
    restore();
    write(folder + "/CURRENT", text);
    EXPECT_EQ(keep("kept.test"), Outcome::kRewritten) << text.substr(0, 40);
    EXPECT_THAT(inLibrary(), Optional(kKept)) << text.substr(0, 40);
  }
}

TEST_F(DamagedLevel, aManifestOfOtherBytesIsRepaired) {
  for (const std::string& bytes : {""s, "x"s, std::string(1000, '\xff'), std::string(1000, '\0')}) {
    restore();
    write(pathOf("MANIFEST-"), bytes);
    EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
    EXPECT_THAT(inLibrary(), Optional(kKept));
  }
}

TEST_F(DamagedLevel, aFlippedBitOfTheManifestLosesNothing) {
  const std::size_t size = fs::file_size(pathOf("MANIFEST-"));
  for (std::size_t offset = 0; offset < size; ++offset) {
    restore();
    flip(pathOf("MANIFEST-"), offset, static_cast<int>(offset % 8));
    ASSERT_EQ(keep("kept.test"), Outcome::kRewritten) << offset;
    ASSERT_THAT(inLibrary(), Optional(kKept)) << offset;
  }
}

TEST_F(DamagedLevel, aFlippedBitOfATableIsNeverTakenForData) {
  const std::size_t size = fs::file_size(pathOf(".ldb"));
  std::size_t left = 0;
  for (std::size_t offset = 0; offset < size; ++offset) {
    restore();
    flip(pathOf(".ldb"), offset, static_cast<int>(offset % 8));
    const auto damaged = platform.home.tree();
    const Outcome outcome = keep("kept.test");
    // A flipped bit goes unnoticed only in bytes that no reader uses.
    if (outcome == Outcome::kRewritten) {
      ASSERT_THAT(inLibrary(), Optional(kKept)) << offset;
      continue;
    }
    ASSERT_EQ(outcome, Outcome::kLeft) << offset;  // the log, at least, contains the name
    ASSERT_EQ(platform.home.tree(), damaged) << offset;
    ++left;
  }
  EXPECT_GT(left, size / 2);
}

TEST_F(DamagedLevel, aFlippedBitOfTheLogIsNeverTakenForData) {
  const std::size_t size = fs::file_size(pathOf(".log"));
  std::size_t left = 0;
  for (std::size_t offset = 0; offset < size; ++offset) {
    restore();
    flip(pathOf(".log"), offset, static_cast<int>(offset % 8));
    const Outcome outcome = keep("kept.test");
    if (outcome == Outcome::kRewritten) {  // the last record can look incomplete, which LevelDB accepts
      ASSERT_EQ(inLibrary()->at("_http://kept.test\0\1a"s), kKept.at("_http://kept.test\0\1a"s));
    } else {
      ASSERT_EQ(outcome, Outcome::kLeft) << offset;
      ++left;
    }
  }
  EXPECT_GT(left, size * 3 / 4);
}

TEST_F(DamagedLevel, whatCannotBeRepairedGoesWhenNothingPreciousIsInIt) {
  flip(pathOf(".ldb"), 10, 3);
  EXPECT_EQ(keep("precious.test"), Outcome::kRemoved);
  EXPECT_FALSE(isThere(folder));
}

TEST_F(DamagedLevel, whatCannotBeRepairedStaysWhenSomethingPreciousIsInIt) {
  flip(pathOf(".ldb"), 10, 3);
  const auto before = platform.home.tree();
  EXPECT_EQ(keep("late kept"), Outcome::kLeft);
  EXPECT_EQ(platform.home.tree(), before);
  EXPECT_THAT(removed, IsEmpty());
}

TEST_F(DamagedLevel, somethingPreciousIsSeenWhereverItStands) {
  // Across the boundaries of the pieces that are searched, in a table that no manifest names, and in LevelDB's own log.
  for (const std::size_t offset :
       {std::size_t{0}, (std::size_t{1} << 20) - 3, (std::size_t{17} << 16) - 3, std::size_t{3000000}}) {
    for (const std::string& name : {"000777.ldb"s, "LOG"s, "LOG.old"s, "000777.dbtmp"s, "lost/000003.ldb"s}) {
      restore();
      flip(pathOf(".ldb"), 10, 3);
      write(folder + "/" + name, std::string(offset, 'x') + "precious.test" + std::string(100, 'x'));
      ASSERT_EQ(keep("precious.test"), Outcome::kLeft) << name << " " << offset;
    }
  }
}

TEST_F(DamagedLevel, aMissingTableIsALoss) {
  fs::remove(pathOf(".ldb"));
  EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
  EXPECT_EQ(keep("kept.test"), Outcome::kLeft);
  EXPECT_EQ(keep("precious.test"), Outcome::kRemoved);
}

TEST_F(DamagedLevel, emptyAndCutFilesAreSafe) {
  for (const std::string& name : {"CURRENT"s, "MANIFEST-"s, ".ldb"s, ".log"s}) {
    const std::string whole = content(pathOf(name));
    for (std::size_t size = 0; size<whole.size(); size += size> 200 ? whole.size() / 40 + 1 : 1) {
      restore();
      write(pathOf(name), whole.substr(0, size));
      LevelDatabase::entries(folder);
      const Outcome outcome = keep("kept.test");
      if (outcome == Outcome::kRewritten) {
        const auto entries = inLibrary();
        ASSERT_TRUE(entries) << name << " " << size;
        ASSERT_EQ(entries->count("_http://gone.test\0\1a"s), 0U);
        if (name != ".log") {
          ASSERT_THAT(entries, Optional(kKept)) << name << " " << size;
        }
      } else {
        ASSERT_EQ(outcome, Outcome::kLeft) << name << " " << size;
      }
    }
  }
}

TEST_F(DamagedLevel, aLogWithRoomAtItsEndIsWhole) {
  write(pathOf(".log"), content(pathOf(".log")) + std::string(100'000, '\0'));
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
}

TEST_F(DamagedLevel, leftoversOfLevelDbItselfAreCleanedUp) {
  for (const bool canExchange : {true, false}) {
    restore();
    removed.clear();
    files.canExchange = canExchange;
    for (const std::string& name :
         {"000999.ldb"s, "000001.log"s, "MANIFEST-000001"s, "000998.dbtmp"s, "LOG.old"s, "lost/000003.ldb"s}) {
      write(folder + "/" + name, "gone.test");
    }
    EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
    EXPECT_THAT(inLibrary(), Optional(kKept));
    EXPECT_THAT(allBytes(), Not(HasSubstr("gone")));
    EXPECT_FALSE(isThere(folder + "/lost"));
    const auto place = [&](const std::string& path) {
      return std::find(removed.begin(), removed.end(), (canExchange ? aside : folder) + path) - removed.begin();
    };
    EXPECT_LT(place("/lost/000003.ldb"), place("/lost"));
    EXPECT_LE(place("/lost"), place(""));
  }
}

TEST_F(DamagedLevel, ofSeveralLogsTheYoungestEntryCounts) {
  fs::remove_all(folder);
  const auto logWith = [](std::uint64_t sequence, const std::string& value) {
    std::string batch, log;
    tidewell::appendFixedNumber(batch, sequence, 8);
    tidewell::appendFixedNumber(batch, 1, 4);
    batch += '\1';
    tidewell::appendText(batch, "kept.test");
    tidewell::appendText(batch, value);
    tidewell::appendLevelRecord(log, batch);
    return log;
  };
  write(folder + "/000005.log", logWith(10, "new"));
  write(folder + "/000006.log", logWith(7, "old"));
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(Entries{{"kept.test", "new"}}));
}

TEST_F(DamagedLevel, somethingElseInTheFolderMeansThatItIsLeft) {
  write(elsewhere.path("target"), "");
  const std::vector<std::pair<std::string, std::function<void(const std::string&)>>> strange = {
      {"a link", [&](const std::string& path) { fs::create_symlink(elsewhere.path("target"), path); }},
      {"a folder", [](const std::string& path) { fs::create_directories(path); }},
  };
  for (const auto& [what, make] : strange) {
    for (const std::string& name : {"CURRENT"s, "LOCK"s, "LOG"s, "000777.ldb"s, "000777.log"s, "000777.dbtmp"s}) {
      restore();
      fs::remove(folder + "/" + name);
      make(folder + "/" + name);
      const auto before = platform.home.tree();
      EXPECT_EQ(keep("kept.test"), Outcome::kLeft) << name << " is " << what;
      EXPECT_EQ(keep("nobody"), Outcome::kLeft) << name << " is " << what;
      EXPECT_EQ(platform.home.tree(), before);
    }
  }
  for (const std::string& name : {"notes.txt"s, "000777.txt"s, "MANIFEST-x"s, "99999999999999999999.ldb"s, "lost"s}) {
    restore();
    write(folder + "/" + name, "mine");
    EXPECT_EQ(keep("nobody"), Outcome::kLeft) << name;
    EXPECT_TRUE(isThere(folder + "/" + name));
  }
}

TEST_F(DamagedLevel, aLinkInsteadOfTheFolderIsNotFollowed) {
  fs::rename(folder, platform.home.path("real"));
  fs::create_symlink(platform.home.path("real"), folder);
  const auto before = platform.home.tree();
  EXPECT_EQ(keep("nobody"), Outcome::kLeft);
  EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
  EXPECT_EQ(platform.home.tree(), before);
}

/// A comparator with another name, by bytes or in reverse.
struct OtherOrder : leveldb::Comparator {
  explicit OtherOrder(bool reverse) : isReverse(reverse) {}
  int Compare(const leveldb::Slice& one, const leveldb::Slice& other) const override {
    return isReverse ? other.compare(one) : one.compare(other);
  }
  const char* Name() const override { return "idb_cmp1"; }
  void FindShortestSeparator(std::string*, const leveldb::Slice&) const override {}
  void FindShortSuccessor(std::string*) const override {}

  const bool isReverse;
};

TEST_F(DamagedLevel, databasesInAnotherOrderAreLeft) {
  for (const bool isReverse : {false, true}) {
    fs::remove_all(folder);
    const OtherOrder order(isReverse);
    leveldb::Options options;
    options.comparator = &order;
    put(kFirst, options);
    open([](leveldb::DB& database) { database.CompactRange(nullptr, nullptr); }, options);
    std::vector<std::function<void()>> damages = {[] {}, [&] { write(folder + "/CURRENT", "x"); }};
    // Without the manifest the comparator's name is lost, but the keys in the table are in the wrong order.
    if (isReverse) damages.emplace_back([&] { fs::remove(pathOf("MANIFEST-")); });
    for (const auto& damage : damages) {
      damage();
      EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
      EXPECT_EQ(keep("kept.test"), Outcome::kLeft);
      EXPECT_EQ(keep("nobody"), Outcome::kLeft);
    }
  }
}

TEST_F(DamagedLevel, thousandsOfFilesAreNoTrouble) {
  struct rlimit before {};
  ::getrlimit(RLIMIT_NOFILE, &before);
  struct rlimit few = before;
  few.rlim_cur = 128;
  const std::string table = content(pathOf(".ldb"));
  for (int index = 1000; index < 4000; ++index) write(folder + "/00" + std::to_string(index) + ".ldb", table);
  fs::remove(folder + "/CURRENT");
  ::setrlimit(RLIMIT_NOFILE, &few);
  const Outcome outcome = keep("kept.test");
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(outcome, Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
}

}  // namespace
