// LevelDB databases of which only some entries stay.

#include "tests/Worker/formats/leveldb/LevelDatabaseTest.h"

#include <sys/stat.h>

#include <random>

namespace {

using namespace std::string_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Optional;
using ::testing::UnorderedElementsAre;
using testing_support::LevelDatabaseTest;

/// Bytes that don't compress, the same for each seed.
std::string noise(std::size_t size, unsigned seed = 1) {
  std::mt19937 random(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

class Level : public LevelDatabaseTest {
 protected:
  const Entries kSites = {
      {"VERSION", "1"},
      {"META:http://kept.test", "\x08\x80"},
      {"META:http://gone.test", "\x08\x81"},
      {"METAACCESS:http://gone.test", "\x09"},
      {"_http://kept.test\0\1key"s, "\1kept value"},
      {"_http://gone.test\0\1key"s, "\1secret of gone"},
      {"_chrome-extension://abc\0\1k"s, "\1e"},
  };
  const Entries kKept = {{"META:http://kept.test", "\x08\x80"}, {"_http://kept.test\0\1key"s, "\1kept value"}};

  /// Small buffers and files, so that LevelDB makes many tables early.
  static leveldb::Options small() {
    leveldb::Options options;
    options.write_buffer_size = 64 << 10;
    options.max_file_size = 1 << 20;
    return options;
  }

  void compact() {
    open([](leveldb::DB& database) { database.CompactRange(nullptr, nullptr); });
  }
};

TEST_F(Level, keepsTheChosenEntriesInAFreshDatabase) {
  put(kSites);
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(kKept));
  EXPECT_FALSE(isThere(aside));
}

TEST_F(Level, leavesNoTraceOfTheOtherEntriesInAnyFile) {
  put(kSites);
  compact();  // the entries are now in a table, and their keys in the manifest
  put({{"_http://gone.test\0\1late"s, "gone.test in the log"}});
  ASSERT_THAT(allBytes(), HasSubstr("gone.test"));
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(allBytes(), Not(HasSubstr("gone")));
  EXPECT_THAT(allBytes(), HasSubstr("kept.test"));
}

TEST_F(Level, leavesNoTraceOfEntriesThatTheBrowserDeletedItself) {
  put(kSites);
  compact();
  open([](leveldb::DB& database) {
    for (const auto& key : {"META:http://gone.test"s, "METAACCESS:http://gone.test"s, "_http://gone.test\0\1key"s}) {
      ASSERT_TRUE(database.Delete({}, key).ok());
    }
  });
  EXPECT_EQ(keep(""), Outcome::kRewritten);
  EXPECT_THAT(allBytes(), Not(HasSubstr("gone.test")));
  EXPECT_EQ(inLibrary()->size(), 4U);
}

TEST_F(Level, handsTheOldFilesToTheRemovalBeforeTheirFolderAndTheLockLast) {
  put(kSites);
  const auto before = names();
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  ASSERT_EQ(removed.size(), before.size() + 1);
  EXPECT_EQ(removed.front(), aside + "/CURRENT");
  EXPECT_EQ(removed[removed.size() - 2], aside + "/LOCK");
  EXPECT_EQ(removed.back(), aside);
  for (const std::string& name : before) EXPECT_THAT(removed, Contains(aside + "/" + name));
}

TEST_F(Level, theOldFilesGoOnlyWhenTheNewOnesStandInTheirPlace) {
  put(kSites);
  onRemove = [this](const std::string&) { EXPECT_THAT(inLibrary(), Optional(kKept)); };
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
}

TEST_F(Level, theFreshFilesAreForTheOwnerOnly) {
  put(kSites);
  keep("kept.test");
  struct stat status {};
  ASSERT_EQ(::stat(folder.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
  for (const std::string& name : names()) {
    ASSERT_EQ(::stat((folder + "/" + name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U) << name;
  }
}

TEST_F(Level, withNothingChosenTheFolderGoes) {
  put(kSites);
  EXPECT_EQ(keep("nobody.test"), Outcome::kRemoved);
  EXPECT_FALSE(isThere(folder));
  EXPECT_FALSE(isThere(aside));
  EXPECT_EQ(removed.front(), folder + "/CURRENT");
  EXPECT_EQ(removed[removed.size() - 2], folder + "/LOCK");
  EXPECT_EQ(removed.back(), folder);
}

TEST_F(Level, anEmptyDatabaseGoes) {
  put({});
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(IsEmpty()));
  EXPECT_EQ(keep(""), Outcome::kRemoved);
  EXPECT_FALSE(isThere(folder));
}

TEST_F(Level, whereThereIsNoDatabaseNothingHappens) {
  EXPECT_EQ(keep(""), Outcome::kAbsent);
  EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
  std::filesystem::create_directories(folder);
  EXPECT_EQ(keep(""), Outcome::kAbsent);
  write(folder + "/LOCK", "");
  write(folder + "/LOG", "");
  EXPECT_EQ(keep(""), Outcome::kAbsent);
  EXPECT_EQ(LevelDatabase::entries(folder), std::nullopt);
  EXPECT_THAT(names(), UnorderedElementsAre("LOCK", "LOG"));
  std::filesystem::remove_all(folder);
  write(folder, "a file");
  EXPECT_EQ(keep(""), Outcome::kAbsent);
  EXPECT_THAT(removed, IsEmpty());
}

TEST_F(Level, aSecondTimeNothingIsTouched) {
  put(kSites);
  keep("kept.test");
  const auto before = platform.home.tree();
  removed.clear();
  files.failing = "file";
  files.operations = 0;
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_EQ(files.operations, 0);  // nothing was created
  EXPECT_THAT(removed, IsEmpty());
  EXPECT_EQ(platform.home.tree(), before);
}

TEST_F(Level, whatOnlyLooksFreshIsRewritten) {
  const auto removeMessagesAndLogs = [this] {
    for (const std::string& name : names()) {
      if (name.starts_with("LOG") || name.ends_with(".log")) std::filesystem::remove(folder + "/" + name);
    }
  };
  put(kSites);
  keep("");
  open([](leveldb::DB& database) { ASSERT_TRUE(database.Delete({}, "META:http://gone.test").ok()); });
  open([](leveldb::DB&) {});  // opening turns the log into a table
  removeMessagesAndLogs();
  EXPECT_EQ(keep(""), Outcome::kRewritten);
  EXPECT_THAT(allBytes(), Not(HasSubstr("META:http://gone.test")));  // all but the deleted entry looked fresh

  for (const char* key : {"_http://gone.test at the end", "_http://gone.test, too"}) put({{key, ""}});
  compact();
  open([](leveldb::DB& database) {
    for (const char* key : {"_http://gone.test at the end", "_http://gone.test, too"}) {
      ASSERT_TRUE(database.Delete({}, key).ok());
    }
    database.CompactRange(nullptr, nullptr);
  });
  removeMessagesAndLogs();
  EXPECT_EQ(keep(""), Outcome::kRewritten);
  EXPECT_THAT(allBytes(), Not(HasSubstr("at the end")));  // all but the manifest's history looked fresh
}

TEST_F(Level, afterTheBrowserHasUsedItAgainItIsRewrittenAgain) {
  put(kSites);
  keep("kept.test");
  put({{"_http://gone.test\0\1key"s, "back"}, {"_http://kept.test\0\1key"s, "changed"}});
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(),
              Optional(Entries{{"META:http://kept.test", "\x08\x80"}, {"_http://kept.test\0\1key"s, "changed"}}));
  EXPECT_THAT(allBytes(), Not(HasSubstr("gone")));
}

TEST_F(Level, theBrowserCanGoOnWithTheManifestThatWasWritten) {
  put(kSites);
  keep("kept.test");
  leveldb::Options options;
  options.reuse_logs = true;
  put({{"_http://new.test\0\1key"s, "1"}}, options);
  put({{"_http://newer.test\0\1key"s, "2"}}, options);
  EXPECT_EQ(inLibrary()->size(), 4U);
  EXPECT_EQ(keep("new"), Outcome::kRewritten);
  EXPECT_EQ(inLibrary()->size(), 2U);
}

TEST_F(Level, anyBytesCanBeKeysAndValues) {
  Entries entries;
  for (int first = 0; first < 256; ++first) {
    const std::string byte(1, static_cast<char>(first));
    entries[byte] = byte + "\0+"s;
    entries[byte + "\0"s] = "+";
    entries[byte + "\xff\xff"] = "+" + std::string(static_cast<std::size_t>(first), '\n');
  }
  entries[""] = "the empty key +";
  entries["empty value +"] = "";
  entries[noise(100'000)] = "a long key +";
  put(entries);
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(entries));
  EXPECT_EQ(keep("+"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(entries));
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(entries));
}

TEST_F(Level, valuesOfManyMegabytesStay) {
  const Entries large = {{"_http://kept.test\0\1a"s, noise(5 << 20)},
                         {"_http://kept.test\0\1b"s, std::string(5 << 20, 'b')}};
  put(large);
  put({{"_http://gone.test\0\1a"s, noise(5 << 20, 2)}});
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(large));
}

TEST_F(Level, manyTablesOnSeveralLevelsAreOneDatabase) {
  Entries latest;
  for (unsigned round = 0; round < 12; ++round) {
    Entries entries;
    for (unsigned index = 0; index < 900; ++index) {
      const std::string host = index % 3 == 0 ? "kept" : "gone";
      const std::string key = "_http://" + host + std::to_string((index * 7 + round * 11) % 2000) + ".test\0\1k"s;
      entries[key] = noise(300, round * 1000 + index);
    }
    put(entries, small());
    for (const auto& [key, value] : entries) latest[key] = value;
  }
  open(
      [&](leveldb::DB& database) {
        for (auto entry = latest.begin(); entry != latest.end();) {
          if (entry->first.find("5.test") != std::string::npos) {
            ASSERT_TRUE(database.Delete({}, entry->first).ok());
            entry = latest.erase(entry);
          } else {
            ++entry;
          }
        }
      },
      small());
  ASSERT_THAT(LevelDatabase::entries(folder), Optional(latest));
  std::erase_if(latest, [](const auto& entry) { return entry.first.find("kept") == std::string::npos; });
  EXPECT_EQ(keep("_http://kept"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(latest));
  EXPECT_THAT(allBytes(), Not(HasSubstr("gone")));
}

TEST_F(Level, aLargeDatabaseIsWrittenInSeveralTables) {
  Entries entries;
  for (unsigned index = 0; index < 100; ++index) entries["kept" + std::to_string(index)] = noise(100'000, index);
  entries["gone"] = "x";
  put(entries);
  entries.erase("gone");
  EXPECT_EQ(keep("kept"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(entries));
  const auto all = names();
  EXPECT_GE(std::count_if(all.begin(), all.end(), [](const auto& name) { return name.ends_with(".ldb"); }), 4);
}

TEST_F(Level, whatOnlyStandsInTheLogIsRead) {
  put(kSites);
  ASSERT_EQ(pathOf(".ldb"), "");
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(kSites));
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
}

TEST_F(Level, tablesUnderTheOldNameAreRead) {
  put(kSites);
  compact();
  const std::string table = pathOf(".ldb");
  std::filesystem::rename(table, table.substr(0, table.size() - 4) + ".sst");
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(kSites));
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
}

TEST_F(Level, tablesWithoutCompressionAreRead) {
  leveldb::Options options;
  options.compression = leveldb::kNoCompression;
  put(kSites, options);
  open([](leveldb::DB& database) { database.CompactRange(nullptr, nullptr); }, options);
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(kSites));
  EXPECT_EQ(keep("kept.test"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
}

TEST_F(Level, severalChangesInOneStepAreRead) {
  open([](leveldb::DB& database) {
    leveldb::WriteBatch batch;
    batch.Put("kept", "old");
    batch.Put("other kept", "1");
    batch.Put("kept", "new");
    batch.Delete("other kept");
    ASSERT_TRUE(database.Write({}, &batch).ok());
  });
  EXPECT_THAT(LevelDatabase::entries(folder), Optional(Entries{{"kept", "new"}}));
}

TEST_F(Level, aSlashAtTheEndOfTheFolderMakesNoDifference) {
  put({{"kept", "1"}, {"gone", "2"}});
  const auto isKept = [](std::string_view key, std::string_view) { return key == "kept"; };
  EXPECT_EQ(keepOnly(
                folder + "/", isKept, [](auto) { return false; }, [this](const auto& path) { files.removeItem(path); }),
            Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(Entries{{"kept", "1"}}));
  EXPECT_FALSE(isThere(aside));
}

}  // namespace
