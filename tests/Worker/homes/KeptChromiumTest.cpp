// What Chromium holds of sites that are kept, beside their cookies.

#include <nlohmann/json.hpp>

#include "Worker/formats/Pickle.h"
#include "tests/support/KeptSitesTest.h"

namespace {

using namespace std::string_literals;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Optional;
using ::testing::UnorderedElementsAre;
using testing_support::cacheStorageIndexOf;
using testing_support::levelEntriesOf;
using testing_support::putInLevelDatabase;
using testing_support::runStatements;
using testing_support::valuesOf;
using Texts = std::vector<std::string>;

class KeptInChromium : public testing_support::KeptSitesTest {
 protected:
  Texts thoseThere(const std::string& folder, const Texts& names) const {
    Texts there;
    for (const std::string& name : names) {
      if (platform.home.exists(chrome(folder) + "/" + name)) there.push_back(name);
    }
    return there;
  }
  void makeFolders(const std::string& folder, const Texts& names) {
    for (const std::string& name : names) platform.home.file(chrome(folder) + "/" + name + "/data", name);
  }
  static std::string primaryOrigin(const std::string& identifier) {
    tidewell::PickleWriter writer;
    writer.text(identifier);
    return writer.pickle();
  }

  const Texts kKeys{"https://kept.test",
                    "http://www.kept.test:8080",
                    "https://kept.test/^0https://alone.test",
                    "https://kept.test/^31",
                    "https://alone.test",
                    "http://[::1]:8080",
                    "chrome-extension://abcdefghijklmnopabcdefghijklmnop"};
  const Texts kOtherKeys{"https://other.test",
                         "https://kept.test/^0https://other.test",
                         "https://other.test/^0https://kept.test",
                         "https://kept.test/^11^22",
                         "https://www.alone.test",
                         "https://below.test",
                         "https://notkept.test"};
  const Texts kIdentifiers{"https_kept.test_0", "http_www.kept.test_8080", "https_alone.test_0", "http_[__1]_8080",
                           "chrome-extension_abcdefghijklmnopabcdefghijklmnop_0"};
  const Texts kOtherIdentifiers{"https_other.test_0", "https_www.alone.test_0", "https_notkept.test_0", "file__0",
                                "https_below.test_0"};
};

TEST_F(KeptInChromium, isLocalStorage) {
  testing_support::LevelEntries entries{{"VERSION", "1"}};
  for (const Texts& keys : {kKeys, kOtherKeys}) {
    for (const std::string& key : keys) {
      for (const std::string& name : {"META:" + key, "METAACCESS:" + key, "_" + key + "\0\1item"s}) entries[name] = key;
    }
  }
  platform.home.folder(chrome("Local Storage"));
  putInLevelDatabase(home(chrome("Local Storage/leveldb")), entries);
  clean();
  for (const std::string& key : kOtherKeys)
    std::erase_if(entries, [&](const auto& entry) { return entry.second == key; });
  EXPECT_EQ(entries.size(), 3 * kKeys.size() + 1);
  EXPECT_THAT(levelEntriesOf(home(chrome("Local Storage/leveldb"))), Optional(entries));
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(KeptInChromium, areDatabases) {
  for (const Texts& names : {kIdentifiers, kOtherIdentifiers}) {
    for (const std::string& name : names) {
      makeFolders("IndexedDB", {name + ".indexeddb.leveldb", name + ".indexeddb.blob"});
    }
  }
  clean();
  for (const std::string& name : kIdentifiers) {
    EXPECT_THAT(thoseThere("IndexedDB", {name + ".indexeddb.leveldb", name + ".indexeddb.blob"}), ::testing::SizeIs(2))
        << name;
  }
  for (const std::string& name : kOtherIdentifiers) {
    EXPECT_THAT(thoseThere("IndexedDB", {name + ".indexeddb.leveldb", name + ".indexeddb.blob"}), IsEmpty()) << name;
  }
}

TEST_F(KeptInChromium, areDatabasesWhereTodaysStoresAreLeft) {
  platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, platform::Value(false));
  makeFolders("IndexedDB", {"https_kept.test_0.indexeddb.leveldb", "https_other.test_0.indexeddb.leveldb"});
  clean();
  EXPECT_THAT(thoseThere("IndexedDB", {"https_kept.test_0.indexeddb.leveldb", "https_other.test_0.indexeddb.leveldb"}),
              ElementsAre("https_kept.test_0.indexeddb.leveldb"));
}

TEST_F(KeptInChromium, isStorageOfEarlierVersions) {
  for (const Texts& names : {kIdentifiers, kOtherIdentifiers}) {
    makeFolders("databases", names);
    for (const std::string& name : names) {
      platform.home.file(chrome("Local Storage/") + name + ".localstorage", name);
      platform.home.file(chrome("Local Storage/") + name + ".localstorage-journal", name);
    }
  }
  runStatements(home(chrome("databases/Databases.db")),
                "CREATE TABLE Databases (origin TEXT); INSERT INTO Databases VALUES ('https_kept.test_0'),"
                " ('https_other.test_0'), ('safari-extension_a_0'), ('chrome-extension_a_0');");
  clean();
  EXPECT_THAT(thoseThere("databases", kIdentifiers), ElementsAreArray(kIdentifiers));
  EXPECT_THAT(thoseThere("databases", kOtherIdentifiers), IsEmpty());
  EXPECT_THAT(valuesOf(home(chrome("databases/Databases.db")), "SELECT origin FROM Databases"),
              ElementsAre("https_kept.test_0", "safari-extension_a_0", "chrome-extension_a_0"));
  for (const std::string& name : kIdentifiers) {
    EXPECT_THAT(thoseThere("Local Storage", {name + ".localstorage", name + ".localstorage-journal"}),
                ::testing::SizeIs(2));
  }
  for (const std::string& name : kOtherIdentifiers) {
    EXPECT_THAT(thoseThere("Local Storage", {name + ".localstorage", name + ".localstorage-journal"}), IsEmpty());
  }
}

TEST_F(KeptInChromium, areCachesOfScripts) {
  const auto fill = [this](const Texts& keys, const std::string& name) {
    for (std::size_t number = 0; number < keys.size(); ++number) {
      const std::string& key = keys[number];
      const std::string folder = chrome("Service Worker/CacheStorage/") + name + std::to_string(number);
      const std::string origin = key.substr(0, key.find("/^")) + "/";
      platform.home.file(folder + "/index.txt",
                         cacheStorageIndexOf(origin, key.find("/^") == std::string::npos ? origin : key));
    }
  };
  fill(kKeys, "kept");
  fill(kOtherKeys, "other");
  platform.home.file(chrome("Service Worker/CacheStorage/unread/index.txt"), "no index");
  platform.home.file(chrome("Service Worker/CacheStorage/empty/file"), "");
  platform.home.file(chrome("Service Worker/Database/CURRENT"), "registrations");
  clean();
  for (std::size_t number = 0; number < kKeys.size(); ++number) {
    EXPECT_THAT(thoseThere("Service Worker/CacheStorage", {"kept" + std::to_string(number)}), ::testing::SizeIs(1))
        << kKeys[number];
    EXPECT_THAT(thoseThere("Service Worker/CacheStorage", {"other" + std::to_string(number)}), IsEmpty())
        << kOtherKeys[number];
  }
  EXPECT_THAT(thoseThere("Service Worker/CacheStorage", {"unread", "empty"}), ElementsAre("unread"));
  EXPECT_THAT(thoseThere("Service Worker", {"Database"}), IsEmpty());
  EXPECT_THAT(complaints(), Contains(HasSubstr("CacheStorage of Chromium was left")));
}

TEST_F(KeptInChromium, areFileSystems) {
  makeFolders("File System", {"000", "001", "002", "primary"});
  putInLevelDatabase(home(chrome("File System/Origins")), {{"LAST_PATH", "2"},
                                                           {"ORIGIN:https_kept.test_0", "000"},
                                                           {"ORIGIN:https_other.test_0", "001"},
                                                           {"ORIGIN:http_[__1]_8080", "002"}});
  platform.home.file(chrome("File System/primary.origin"), primaryOrigin("https_alone.test_0"));
  clean();
  EXPECT_THAT(thoseThere("File System", {"000", "001", "002", "primary", "primary.origin"}),
              ElementsAre("000", "002", "primary", "primary.origin"));
  EXPECT_THAT(
      levelEntriesOf(home(chrome("File System/Origins"))),
      Optional(UnorderedElementsAre(Key("LAST_PATH"), Key("ORIGIN:https_kept.test_0"), Key("ORIGIN:http_[__1]_8080"))));
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(KeptInChromium, isNotTheFirstFileSystemOfAnother) {
  makeFolders("File System", {"primary"});
  platform.home.file(chrome("File System/primary.origin"), primaryOrigin("https_other.test_0"));
  clean();
  EXPECT_FALSE(platform.home.exists(chrome("File System")));
}

TEST_F(KeptInChromium, areFileSystemsOfUnknownOwners) {
  makeFolders("File System", {"000", "primary"});
  platform.home.file(chrome("File System/primary.origin"), "\x03");
  clean();
  EXPECT_THAT(thoseThere("File System", {"000", "primary", "primary.origin"}), ::testing::SizeIs(3));
  EXPECT_THAT(complaints(), Contains(HasSubstr("File System of Chromium was left")));
}

TEST_F(KeptInChromium, areBuckets) {
  std::string rows = "CREATE TABLE buckets (id INTEGER PRIMARY KEY, storage_key TEXT);";
  Texts keptFolders, otherFolders;
  for (const Texts& keys : {kKeys, kOtherKeys}) {
    for (const std::string& key : keys) {
      const std::string name = std::to_string(keptFolders.size() + otherFolders.size() + 1);
      rows +=
          "INSERT INTO buckets VALUES (" + name + ", '" + key + (key.find('^') == std::string::npos ? "/');" : "');");
      (keys == kKeys ? keptFolders : otherFolders).push_back(name);
      makeFolders("WebStorage", {name});
    }
  }
  runStatements(home(chrome("WebStorage/QuotaManager")), rows);
  clean();
  EXPECT_THAT(thoseThere("WebStorage", keptFolders), ElementsAreArray(keptFolders));
  EXPECT_THAT(thoseThere("WebStorage", otherFolders), IsEmpty());
  EXPECT_THAT(valuesOf(home(chrome("WebStorage/QuotaManager")), "SELECT id FROM buckets"),
              ElementsAreArray(keptFolders));
}

TEST_F(KeptInChromium, areBucketsOfUnknownOwners) {
  makeFolders("WebStorage", {"1"});
  clean();
  EXPECT_THAT(thoseThere("WebStorage", {"1"}), ::testing::SizeIs(1)) << "no index";
  platform.home.file(chrome("WebStorage/QuotaManager"), std::string(2000, 'x'));
  clean();
  EXPECT_THAT(thoseThere("WebStorage", {"1"}), ::testing::SizeIs(1)) << "no database";
  EXPECT_THAT(complaints(), Contains(HasSubstr("WebStorage of Chromium")));
}

TEST_F(KeptInChromium, isDamagedLocalStorage) {
  platform.home.folder(chrome("Local Storage"));
  putInLevelDatabase(home(chrome("Local Storage/leveldb")), {{"_https://other.test\0\1item"s, std::string(3000, 'x')}});
  for (const auto& entry : std::filesystem::directory_iterator(home(chrome("Local Storage/leveldb")))) {
    const std::string name = entry.path().filename();
    if (!name.ends_with(".log") && !name.ends_with(".ldb")) continue;
    std::string bytes = platform.home.content(chrome("Local Storage/leveldb/") + name);
    if (bytes.size() > 100) bytes[bytes.size() / 2] ^= 0x5a;
    platform.home.file(chrome("Local Storage/leveldb/") + name, bytes);
  }
  clean();
  EXPECT_TRUE(platform.home.exists(chrome("Local Storage/leveldb")));
  EXPECT_THAT(complaints(), Contains(HasSubstr("Local Storage/leveldb of Chromium")));
}

TEST_F(KeptInChromium, isNoStorageOfTabsAndNoCache) {
  makeFolders("Session Storage", {"kept.test"});
  makeFolders("Cache", {"kept.test"});
  platform.home.file(chrome("TransportSecurity"), "kept.test");
  clean();
  EXPECT_THAT(thoseThere("", {"Session Storage", "Cache", "TransportSecurity"}), IsEmpty());
}

TEST_F(KeptInChromium, isWhatWasSetForThem) {
  platform.home.file(chrome("Preferences"),
                     R"({"profile":{"content_settings":{"exceptions":{"notifications":{"https://kept.test:443,*":{},)"
                     R"("https://other.test:443,*":{}}}}}})");
  clean();
  EXPECT_EQ(platform.home.content(chrome("Preferences")),
            R"({"profile":{"content_settings":{"exceptions":{"notifications":{"https://kept.test:443,*":{}}}}}})");
}

}  // namespace
