// Stores that are damaged, in use, or not what they seem: the other stores are cleaned, and extensions' data stay.

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "tests/support/Databases.h"
#include "tests/support/LinuxHomeTest.h"
#include "tests/support/SampleWriter.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using testing_support::HomeContents;
using testing_support::kSampleExtension;
using testing_support::kVisitedSite;
using testing_support::LinuxHomeTest;
using testing_support::putInLevelDatabase;
using testing_support::runStatements;
using testing_support::SampleWriter;
using Texts = std::vector<std::string>;

constexpr char kProfile[] = ".config/chromium/Default/";
constexpr char kFirefoxProfile[] = ".mozilla/firefox/ann/";

/// Another process that holds a lock on a file while the object lives.
class LockHolder {
 public:
  explicit LockHolder(const std::string& path) {
    std::array<int, 2> told{};
    std::array<int, 2> ends{};
    if (::pipe(told.data()) != 0 || ::pipe(ends.data()) != 0) return;
    process_ = ::fork();
    if (process_ == 0) {
      ::close(ends[1]);
      const int file = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
      struct flock lock {};
      lock.l_type = F_WRLCK;
      const char answer = ::fcntl(file, F_SETLK, &lock) == 0 ? '+' : '-';
      char byte = 0;
      if (::write(told[1], &answer, 1) == 1) [[maybe_unused]]
        const ssize_t end = ::read(ends[0], &byte, 1);
      ::_exit(0);
    }
    ::close(told[1]);
    ::close(ends[0]);
    ends_ = ends[1];
    char answer = 0;
    holds_ = ::read(told[0], &answer, 1) == 1 && answer == '+';
    ::close(told[0]);
  }
  ~LockHolder() {
    ::close(ends_);
    ::waitpid(process_, nullptr, 0);
  }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;

  bool holds() const { return holds_; }

 private:
  pid_t process_ = 0;
  int ends_ = -1;
  bool holds_ = false;
};

class DamagedStores : public LinuxHomeTest {
 protected:
  DamagedStores() {
    const SampleWriter writer(platform.home, SampleWriter::Stage::kBefore);
    platform.home.file(".config/chromium/Local State", "{}");
    testing_support::writeChromeProfile(writer, kProfile, ".cache/chromium/Default/", true);
    testing_support::writeFirefoxProfile(writer, kFirefoxProfile, ".cache/mozilla/firefox/ann/");
    for (const char* folder : {".config/chromium", ".cache/chromium", ".mozilla/firefox", ".cache/mozilla/firefox"}) {
      platform.grant(home(folder));
    }
  }

  std::string chrome(const std::string& store) const { return kProfile + store; }
  std::string firefox(const std::string& store) const { return kFirefoxProfile + store; }

  /// Cleans both browsers; returns all files in which data of the site are left.
  Texts leftByARun() {
    quit("Chromium");
    quit("Firefox");
    return HomeContents(platform.home).mentioning(kVisitedSite);
  }

  /// Damages every file of a LevelDB database that holds entries.
  void damage(const std::string& folder) const {
    for (const auto& entry : std::filesystem::directory_iterator(home(folder))) {
      const std::string name = entry.path().filename();
      if (!name.ends_with(".log") && !name.ends_with(".ldb")) continue;
      std::string bytes = platform.home.content(folder + "/" + name);
      for (std::size_t at = 0; at < bytes.size() && at < 4; ++at) bytes[at] = static_cast<char>(~bytes[at]);
      platform.home.file(folder + "/" + name, bytes);
    }
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(DamagedStores, areAloneInWhatIsLeft) {
  EXPECT_THAT(leftByARun(), IsEmpty());
}

TEST_F(DamagedStores, ofWebDatabasesGoAlsoWhereTheIndexDoesNotNameThem) {
  platform.home.file(chrome("databases/https_other.example_0/1"), kVisitedSite);
  platform.home.file(chrome("databases/chrome-extension_unknown_0/1"), "kept");
  EXPECT_THAT(leftByARun(), IsEmpty());
  EXPECT_FALSE(platform.home.exists(chrome("databases/https_other.example_0")));
  EXPECT_TRUE(platform.home.exists(chrome("databases/chrome-extension_unknown_0/1")));
}

TEST_F(DamagedStores, ofLocalStorageStayWhereAnExtensionIsInThem) {
  damage(chrome("Local Storage/leveldb"));
  const Texts before = platform.home.tree(chrome("Local Storage/leveldb"));
  EXPECT_THAT(leftByARun(), Each(StartsWith(chrome("Local Storage/leveldb/"))));
  EXPECT_EQ(platform.home.tree(chrome("Local Storage/leveldb")), before);
}

TEST_F(DamagedStores, ofLocalStorageGoWholeWhereNoExtensionIsInThem) {
  std::filesystem::remove_all(home(chrome("Local Storage/leveldb")));
  putInLevelDatabase(home(chrome("Local Storage/leveldb")), {{"_https://visited.example", "mark"}});
  damage(chrome("Local Storage/leveldb"));
  EXPECT_THAT(leftByARun(), IsEmpty());
  EXPECT_FALSE(platform.home.exists(chrome("Local Storage/leveldb")));
}

TEST_F(DamagedStores, thatABrowserHasOpenAreLeft) {
  const LockHolder running(home(chrome("Local Storage/leveldb/LOCK")));
  const LockHolder runningToo(home(chrome("File System/Origins/LOCK")));
  ASSERT_TRUE(running.holds() && runningToo.holds());
  const Texts localStorage = platform.home.tree(chrome("Local Storage/leveldb"));
  const Texts fileSystem = platform.home.tree(chrome("File System"));
  const Texts left = leftByARun();
  EXPECT_TRUE(std::all_of(left.begin(), left.end(), [this](const std::string& path) {
    return path.starts_with(chrome("Local Storage/leveldb/")) || path.starts_with(chrome("File System/"));
  }));
  EXPECT_EQ(platform.home.tree(chrome("Local Storage/leveldb")), localStorage);
  EXPECT_EQ(platform.home.tree(chrome("File System")), fileSystem);
}

TEST_F(DamagedStores, thatABrowserHasOpenAreSaidToBeInUse) {
  const LockHolder running(home(chrome("Local Storage/leveldb/LOCK")));
  ASSERT_TRUE(running.holds());
  leftByARun();
  EXPECT_THAT(platform.log.lines(), Contains("Local Storage/leveldb of Chromium was left: another program uses it"));
}

TEST_F(DamagedStores, thatWereOpenAreCleanedTheNextTime) {
  {
    const LockHolder running(home(chrome("Local Storage/leveldb/LOCK")));
    EXPECT_THAT(leftByARun(), Contains(StartsWith(chrome("Local Storage/leveldb/"))));
  }
  EXPECT_THAT(leftByARun(), IsEmpty());
}

TEST_F(DamagedStores, ofFileSystemsStayWhereAnExtensionIsInThem) {
  damage(chrome("File System/Origins"));
  const Texts before = platform.home.tree(chrome("File System"));
  EXPECT_THAT(leftByARun(), Each(StartsWith(chrome("File System/"))));
  EXPECT_EQ(platform.home.tree(chrome("File System")), before);
}

TEST_F(DamagedStores, ofFileSystemsWithoutAnIndexGoWhole) {
  std::filesystem::remove_all(home(chrome("File System/Origins")));
  EXPECT_THAT(leftByARun(), IsEmpty());
  EXPECT_FALSE(platform.home.exists(chrome("File System")));
}

TEST_F(DamagedStores, ofFileSystemsKeepTheFirstOriginsPlaceForAnExtension) {
  std::filesystem::remove_all(home(chrome("File System")));
  platform.home.file(chrome("File System/primary.origin"), std::string("chrome-extension_") + kSampleExtension + "_0");
  platform.home.file(chrome("File System/primary/p/00/00000000"), "kept");
  platform.home.file(chrome("File System/000/p/00/00000000"), kVisitedSite);
  EXPECT_THAT(leftByARun(), IsEmpty());
  EXPECT_EQ(platform.home.content(chrome("File System/primary/p/00/00000000")), "kept");
}

TEST_F(DamagedStores, ofSettingsThatAreNoJSONStay) {
  for (const std::string text : {"", "{", "{\"https://visited.example:443,*\":1", "\xff\xfe{}"}) {
    platform.home.file(chrome("Preferences"), text);
    EXPECT_THAT(leftByARun(), Each(chrome("Preferences")));
    EXPECT_EQ(platform.home.content(chrome("Preferences")), text);
  }
}

TEST_F(DamagedStores, ofSQLiteWithoutTheTablesStay) {
  const Texts databases = {firefox("storage.sqlite"), firefox("content-prefs.sqlite"), firefox("webappsstore.sqlite")};
  for (const std::string& database : databases) {
    std::filesystem::remove(home(database));
    runStatements(home(database), "CREATE TABLE others (name TEXT); INSERT INTO others VALUES ('visited.example');");
  }
  const HomeContents before(platform.home);
  EXPECT_THAT(leftByARun(), ::testing::UnorderedElementsAreArray(databases));
  EXPECT_THAT(HomeContents(platform.home).changedSince(before), ::testing::Not(Contains(databases[0])));
  EXPECT_THAT(HomeContents(platform.home).changedSince(before), ::testing::Not(Contains(databases[1])));
}

TEST_F(DamagedStores, ofSQLiteThatAreNoDatabasesStay) {
  const Texts databases = {firefox("storage.sqlite"), firefox("content-prefs.sqlite"), firefox("webappsstore.sqlite")};
  for (const std::string& database : databases) platform.home.file(database, "visited.example");
  EXPECT_THAT(leftByARun(), ::testing::UnorderedElementsAreArray(databases));
}

TEST_F(DamagedStores, ofBucketsGoWholeWhereNoExtensionIsInTheIndex) {
  const std::string index = chrome("WebStorage/QuotaManager");
  for (const std::string bytes : {"not a database", ""}) {
    platform.home.file(index, bytes);
    platform.home.file(chrome("WebStorage/1/x"), kVisitedSite);
    EXPECT_THAT(leftByARun(), IsEmpty());
    EXPECT_FALSE(platform.home.exists(chrome("WebStorage")));
  }
}

TEST_F(DamagedStores, ofBucketsStayWhereAnExtensionIsInTheIndex) {
  const std::string folder = chrome("WebStorage");
  const std::string index = platform.home.content(folder + "/QuotaManager");
  platform.home.file(folder + "/QuotaManager", "damaged" + index.substr(7));
  const Texts before = platform.home.tree(folder);
  EXPECT_THAT(leftByARun(), Each(StartsWith(folder + "/")));
  EXPECT_EQ(platform.home.tree(folder), before);
}

TEST_F(DamagedStores, ofBucketsInAFormOfEarlierVersionsStayWhereAnExtensionIsInTheIndex) {
  const std::string index = chrome("WebStorage/QuotaManager");
  std::filesystem::remove(home(index));
  runStatements(home(index),
                "CREATE TABLE buckets (id INTEGER PRIMARY KEY, origin TEXT);"
                "INSERT INTO buckets VALUES (9, 'chrome-extension://abc/');");
  leftByARun();
  EXPECT_TRUE(platform.home.exists(chrome("WebStorage/9/IndexedDB/LOG")));
}

TEST_F(DamagedStores, ofBucketsThatABrowserHasOpenStayWhereAnExtensionIsInThem) {
  sqlite3* running = nullptr;
  ASSERT_EQ(sqlite3_open(home(chrome("WebStorage/QuotaManager")).c_str(), &running), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(running, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  const Texts before = platform.home.tree(chrome("WebStorage/9"));
  leftByARun();
  sqlite3_close(running);
  EXPECT_EQ(platform.home.tree(chrome("WebStorage/9")), before);
  EXPECT_THAT(leftByARun(), IsEmpty());
}

TEST_F(DamagedStores, ofASessionThatCannotBeReadGo) {
  const std::string session = platform.home.content(firefox("sessionstore.jsonlz4"));
  for (const std::string& bytes : {std::string("visited.example"), std::string(), session.substr(0, 40)}) {
    platform.home.file(firefox("sessionstore.jsonlz4"), bytes);
    platform.home.file(firefox("sessionstore-backups/recovery.jsonlz4"), bytes);
    EXPECT_THAT(leftByARun(), IsEmpty());
    EXPECT_FALSE(platform.home.exists(firefox("sessionstore.jsonlz4")));
    EXPECT_FALSE(platform.home.exists(firefox("sessionstore-backups/recovery.jsonlz4")));
    EXPECT_TRUE(platform.home.exists(firefox("sessionstore-backups/previous.jsonlz4")));
  }
}

TEST_F(DamagedStores, thatAreFoldersWhereFilesBelongAreLeft) {
  const Texts stores = {chrome("Preferences"), firefox("storage.sqlite"), firefox("content-prefs.sqlite"),
                        firefox("sessionstore.jsonlz4"), firefox("sessionstore-backups/recovery.jsonlz4")};
  for (const std::string& store : stores) {
    std::filesystem::remove(home(store));
    platform.home.file(store + "/file", "kept");
  }
  leftByARun();
  for (const std::string& store : stores) EXPECT_EQ(platform.home.content(store + "/file"), "kept");
}

TEST_F(DamagedStores, thatAreFilesWhereFoldersBelongHarmNothing) {
  const Texts folders = {
      chrome("Local Storage"),  chrome("File System"), chrome("WebStorage"),           chrome("IndexedDB"),
      chrome("Service Worker"), firefox("storage"),    firefox("sessionstore-backups")};
  for (const std::string& folder : folders) {
    std::filesystem::remove_all(home(folder));
    platform.home.file(folder, "a file");
  }
  EXPECT_THAT(leftByARun(), IsEmpty());
}

TEST_F(DamagedStores, ofAnySizeNeitherStopARunNorTakeItsMemory) {
  const std::array sparse = {std::string(".config/chromium/Local State"), chrome("Preferences"),
                             firefox("sessionstore.jsonlz4"), std::string(".mozilla/firefox/profiles.ini")};
  for (const std::string& path : sparse) {
    platform.home.file(path);
    std::filesystem::resize_file(home(path), std::uintmax_t{1} << 40);
  }
  quit("Chromium");
  quit("Firefox");
  EXPECT_TRUE(platform.home.exists(sparse[1]));   // as any that can't be read
  EXPECT_FALSE(platform.home.exists(sparse[2]));  // likewise
  for (const std::string& path : sparse) std::filesystem::remove(home(path));
  EXPECT_THAT(platform.log.lines(), IsEmpty());
  EXPECT_THAT(HomeContents(platform.home).mentioning(kVisitedSite), IsEmpty());
}

}  // namespace
