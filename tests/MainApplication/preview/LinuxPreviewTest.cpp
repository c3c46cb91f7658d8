// On a home without a Library, too, a run removes exactly what the preview lists.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <utility>

#include "MainApplication/preview/Preview.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using testing_support::HomeContents;
using testing_support::LinuxHomeTest;
using tidewell::Preview;
using Paths = std::set<std::string>;

class PreviewOnLinux : public LinuxHomeTest, public ::testing::WithParamInterface<std::string> {
 protected:
  PreviewOnLinux() { testing_support::fillLinuxSampleHome(platform.home); }

  Preview preview() { return Preview::of(browser(GetParam()), platform.userDefaults); }

  std::string below(const std::string& path) const { return path.substr(platform.home.path().size() + 1); }

  /// The files in the preview's items.
  Paths filesOf(const Preview& preview, const HomeContents& before) const {
    Paths paths;
    for (const tidewell::PreviewedItem& item : preview.items) {
      const std::string path = below(item.path);
      std::uint64_t files = 0;
      for (const auto& [file, content] : before.files) {
        if (file != path && !file.starts_with(path + "/")) continue;
        EXPECT_TRUE(paths.insert(file).second) << file << " is counted twice";
        ++files;
      }
      EXPECT_EQ(files, item.files) << path;
    }
    return paths;
  }

  /// Whether the preview lists the file as rewritten, by itself or in a database's folder.
  bool isRewritten(const Preview& preview, const std::string& file) const {
    return std::any_of(preview.rewritings.begin(), preview.rewritings.end(), [&](const auto& rewriting) {
      return file == below(rewriting.path) || file.starts_with(below(rewriting.path) + "/");
    });
  }

  /// How many rows of the table have gone.
  static std::uint64_t rowsGone(const HomeContents& before, const HomeContents& after, const std::string& database,
                                const std::string& table) {
    const auto count = [&](const HomeContents& contents) {
      std::uint64_t rows = 0;
      const std::string& meaning = contents.meanings.at(database);
      for (std::size_t at = 0; at < meaning.size(); at = meaning.find('\n', at) + 1) {
        rows += meaning.compare(at, table.size() + 1, table + ":") == 0 ? 1U : 0U;
      }
      return rows;
    };
    return count(before) - count(after);
  }
};

TEST_P(PreviewOnLinux, isTheRunFileByFileAndRowByRow) {
  for (const bool ofCurrentStores : {false, true}) {
    platform.shared().insert_or_assign(tidewell::kCurrentStoresKey, ofCurrentStores);
    const HomeContents before(platform.home);
    const Preview previewed = preview();
    grantSampleHome(GetParam());
    const auto worker = makeWorker();
    quit(GetParam());
    const HomeContents after(platform.home);

    Paths gone;
    for (const std::string& path : after.goneSince(before)) {
      if (!isRewritten(previewed, path)) gone.insert(path);
    }
    EXPECT_EQ(filesOf(previewed, before), gone);
    EXPECT_FALSE(gone.empty());

    // The files that were rewritten are exactly those that the preview has listed as such.
    Paths databases;
    std::uint64_t rows = 0;
    for (const tidewell::PreviewedRows& table : previewed.rows) {
      EXPECT_EQ(table.rows, rowsGone(before, after, below(table.database), table.table)) << table.database;
      databases.insert(below(table.database));
      rows += table.rows;
    }
    EXPECT_EQ(rows > 0, true);
    for (const auto& [path, meaning] : before.meanings) {
      const auto found = after.meanings.find(path);
      if (found == after.meanings.end() || found->second == meaning) continue;
      EXPECT_TRUE(databases.contains(path) || isRewritten(previewed, path)) << path;
    }
    for (const tidewell::PreviewedRewriting& rewriting : previewed.rewritings) {
      const std::string path = below(rewriting.path);
      const std::string key = before.meanings.contains(path) ? path : path + "/";
      EXPECT_NE(before.meanings.at(key), after.meanings.at(key)) << path;
    }
    EXPECT_EQ(previewed.rewritings.empty(), !ofCurrentStores);
  }
}

TEST_P(PreviewOnLinux, changesNothingAtAll) {
  const HomeContents before(platform.home);
  const auto settings = platform.shared();
  const auto own = platform.own();
  for (const bool overwrites : {false, true}) {
    platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, overwrites);
    preview();
    platform.shared().erase(tidewell::kSecureDeleteDataKey);
    const HomeContents after(platform.home);
    EXPECT_THAT(after.goneSince(before), IsEmpty());
    EXPECT_THAT(after.addedSince(before), IsEmpty());
    EXPECT_THAT(after.changedSince(before), IsEmpty());
    EXPECT_EQ(after.folders, before.folders);
    EXPECT_EQ(platform.shared(), settings);
    EXPECT_EQ(platform.own(), own);
    EXPECT_THAT(panels(), IsEmpty());
  }
}

TEST_P(PreviewOnLinux, isTheSameWithOverwriting) {
  const Preview plain = preview();
  platform.shared().insert_or_assign(tidewell::kSecureDeleteDataKey, true);
  const Preview overwriting = preview();
  EXPECT_EQ(plain.items.size(), overwriting.items.size());
  EXPECT_EQ(plain.rewritings.size(), overwriting.rewritings.size());
  EXPECT_EQ(plain.rows.size(), overwriting.rows.size());
}

TEST_P(PreviewOnLinux, isEmptyWhenARunHasBeen) {
  grantSampleHome(GetParam());
  const auto worker = makeWorker();
  quit(GetParam());
  const Preview after = preview();
  EXPECT_TRUE(after.rewritings.empty());
  EXPECT_TRUE(after.rows.empty());
  for (const tidewell::PreviewedItem& item : after.items) EXPECT_EQ(item.files, 0U) << item.path;
}

INSTANTIATE_TEST_SUITE_P(Browsers, PreviewOnLinux, ::testing::Values("Firefox", "Google Chrome", "Chromium", "Opera"),
                         [](const auto& browser) {
                           std::string name = browser.param;
                           std::erase(name, ' ');
                           return name;
                         });

class EmptyLinuxHome : public LinuxHomeTest {};

TEST_F(EmptyLinuxHome, hasAnEmptyPreview) {
  for (const tidewell::Browser& each : tidewell::browsers()) {
    const Preview preview = Preview::of(each, platform.userDefaults);
    EXPECT_TRUE(preview.items.empty() && preview.rows.empty() && preview.rewritings.empty());
  }
}

TEST_F(EmptyLinuxHome, isPreviewedWithAFolderThatABrowserWasStartedWith) {
  platform.home.file("work/Local State", "{}");
  platform.home.file("work/Default/Preferences", "{}");
  platform.home.file("work/Default/Cookies", "mark");
  const auto worker = makeWorker();
  quit("Chromium", {{"chromium", "--user-data-dir=" + home("work")}});
  const Preview preview = Preview::of(browser("Chromium"), platform.userDefaults);
  ASSERT_EQ(preview.items.size(), 1U);
  EXPECT_EQ(preview.items[0].path, home("work/Default/Cookies"));
}

/// Makes a chain of folders below this one, each in the one before, and a file of five bytes in the last.
void makeDeepTree(const std::string& folder, int levels) {
  int at = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < levels; ++level) {
    ASSERT_EQ(::mkdirat(at, "deep", 0700), 0);
    const int next = ::openat(at, "deep", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(std::exchange(at, next));
  }
  const int file = ::openat(at, "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  EXPECT_EQ(::write(file, "12345", 5), 5);
  ::close(file);
  ::close(at);
}

TEST_F(EmptyLinuxHome, isPreviewedWhenATreeIsDeeperThanAPathCanBeLong) {
  platform.home.file(".config/chromium/Local State", "{}");
  platform.home.file(".config/chromium/Default/Preferences", "{}");
  makeDeepTree(platform.home.folder(".config/chromium/Default/Code Cache"), 3'000);
  platform.grant(home(".config/chromium"));
  const auto worker = makeWorker();
  const Preview preview = Preview::of(browser("Chromium"), platform.userDefaults);
  ASSERT_EQ(preview.items.size(), 1U);
  EXPECT_EQ(preview.items[0].files, 1U);
  EXPECT_EQ(preview.items[0].bytes, 5U);
  quit("Chromium");
  EXPECT_FALSE(platform.home.exists(".config/chromium/Default/Code Cache"));
}

}  // namespace
