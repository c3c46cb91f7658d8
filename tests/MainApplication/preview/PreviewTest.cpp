// A run removes exactly what the preview lists.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>

#include "MainApplication/preview/Preview.h"
#include "MainApplication/preview/PreviewFiles.h"
#include "Worker/database/Sqlite.h"
#include "tests/support/SampleHome.h"
#include "tests/support/WorkerTest.h"

namespace {

using namespace std::chrono_literals;
using testing_support::GrantedHomeTest;
using testing_support::HomeDifference;
using testing_support::HomeState;
using tidewell::Preview;

class PreviewOf : public GrantedHomeTest, public ::testing::WithParamInterface<std::string> {
 protected:
  PreviewOf() { testing_support::fillSampleHome(platform.home); }

  std::string below(const std::string& path) const { return path.substr(platform.home.path().size() + 1); }
};

TEST_P(PreviewOf, isTheRunFileByFileAndRowByRow) {
  const tidewell::Browser& browser = *tidewell::browserNamed(GetParam());
  const HomeState before(platform.home);
  const Preview preview = Preview::of(browser, platform.userDefaults);
  const HomeDifference touched(before, HomeState(platform.home));
  EXPECT_TRUE(touched.gone.empty() && touched.goneRows.empty() && touched.added.empty() && touched.changed.empty() &&
              touched.touched.empty());

  platform.shared().insert_or_assign("enabledBrowsers", platform::Value::Array{browser.bundleIdentifier});
  const auto worker = makeWorker();
  platform.workspace.quit(std::string(browser.name), std::string(browser.bundleIdentifier));
  platform.dispatch.advance(2s);
  const HomeDifference run(before, HomeState(platform.home));

  std::set<std::string> gone;
  for (std::string path : run.gone) {
    while (path.ends_with('/')) path.pop_back();
    gone.insert(path);
  }
  std::set<std::string> previewed;
  for (const tidewell::PreviewedItem& item : preview.items) previewed.insert(below(item.path));
  EXPECT_EQ(previewed, gone);

  std::uint64_t rows = 0;
  for (const tidewell::PreviewedRows& table : preview.rows) {
    rows += table.rows;
    const std::string prefix = below(table.database) + ", " + table.table + ":";
    EXPECT_EQ(table.rows, std::count_if(run.goneRows.begin(), run.goneRows.end(),
                                        [&](const std::string& row) { return row.starts_with(prefix); }))
        << prefix;
  }
  EXPECT_EQ(rows, run.goneRows.size());
  EXPECT_FALSE(preview.items.empty());
}

TEST_P(PreviewOf, isTheSameWithOverwriting) {
  const tidewell::Browser& browser = *tidewell::browserNamed(GetParam());
  const HomeState before(platform.home);
  const Preview plain = Preview::of(browser, platform.userDefaults);
  platform.shared().insert_or_assign("secureDeleteData", true);
  const Preview overwriting = Preview::of(browser, platform.userDefaults);
  EXPECT_EQ(plain.items.size(), overwriting.items.size());
  EXPECT_TRUE(HomeDifference(before, HomeState(platform.home)).changed.empty());
}

INSTANTIATE_TEST_SUITE_P(Browsers, PreviewOf,
                         ::testing::Values("Safari", "Firefox", "Google Chrome", "Chromium", "Opera"),
                         [](const auto& browser) {
                           std::string name = browser.param;
                           std::erase(name, ' ');
                           return name;
                         });

TEST_F(GrantedHomeTest, previewOfAnEmptyHomeIsEmpty) {
  const Preview preview = Preview::of(*tidewell::browserNamed("Firefox"), platform.userDefaults);
  EXPECT_TRUE(preview.items.empty());
  EXPECT_TRUE(preview.rows.empty());
}

/// The names in the temporary folder.
std::set<std::string> temporaryNames() {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator("/tmp")) names.insert(entry.path());
  return names;
}

TEST(PreviewsCopies, haveNoNamesSoThatNothingStaysOfThemHoweverItEnds) {
  const testing_support::ScratchFolder folder;
  tidewell::Sqlite original;
  ASSERT_TRUE(original.open(folder.path("database")));
  original.executeQuery("PRAGMA journal_mode = WAL;");
  original.executeNonQuery("CREATE TABLE t (site);");
  original.executeNonQuery("INSERT INTO t VALUES ('site.test');");
  ASSERT_TRUE(folder.exists("database-wal"));  // and all is in it
  const auto before = temporaryNames();
  const auto tree = folder.tree();

  const tidewell::AnonymousFiles files;
  const std::string path = files.path("copy");
  ASSERT_TRUE(tidewell::PreviewFiles::copy(folder.path("database"), path));
  tidewell::Sqlite copy;
  ASSERT_TRUE(copy.open(path));
  EXPECT_TRUE(copy.executeNonQuery("INSERT INTO t VALUES ('other.test');"));
  const auto rows = copy.executeQuery("SELECT count(*) AS rows FROM t;");
  ASSERT_TRUE(rows && !rows->empty());
  EXPECT_EQ((*rows)[0].stringForKey("rows"), "2");

  EXPECT_EQ(temporaryNames(), before);
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(folder.tree(), tree);
}

TEST(PreviewsCopies, includeWhatACrashHasLeftHalfDone) {
  const testing_support::ScratchFolder folder;
  {
    tidewell::Sqlite original;
    ASSERT_TRUE(original.open(folder.path("database")));
    original.executeNonQuery("CREATE TABLE t (site);");
    original.executeNonQuery("INSERT INTO t VALUES (zeroblob(100000));");
    original.executeQuery("PRAGMA cache_size = 1;");  // what is changed is written before it is committed
    original.executeNonQuery("BEGIN;");
    original.executeNonQuery("UPDATE t SET site = randomblob(100000);");
    std::filesystem::copy(folder.path("database"), folder.path("crashed"));
    std::filesystem::copy(folder.path("database-journal"), folder.path("crashed-journal"));
  }
  const tidewell::AnonymousFiles files;
  ASSERT_TRUE(tidewell::PreviewFiles::copy(folder.path("crashed"), files.path("copy")));
  tidewell::Sqlite copy;
  ASSERT_TRUE(copy.open(files.path("copy")));
  const auto rows = copy.executeQuery("SELECT site = zeroblob(100000) AS whole FROM t;");
  ASSERT_TRUE(rows && !rows->empty());
  EXPECT_EQ((*rows)[0].stringForKey("whole"), "1");
}

TEST(PreviewsCopies, areOfRegularFilesOnly) {
  const testing_support::ScratchFolder folder;
  folder.file("database");
  folder.link("link", folder.path("database"));
  const tidewell::AnonymousFiles files;
  for (const std::string& from : {folder.path("link"), folder.path("none"), folder.path(), std::string("/dev/zero")}) {
    EXPECT_FALSE(tidewell::AnonymousFiles::copy(from, files.path("copy"))) << from;
  }
}

}  // namespace
