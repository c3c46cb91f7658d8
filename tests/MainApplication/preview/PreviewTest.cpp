// A run removes exactly what the preview lists.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include "MainApplication/preview/Preview.h"
#include "MainApplication/preview/PreviewFiles.h"
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

TEST(PreviewsTemporaryFolder, goesWithItsOwnerOrElseWithTheNext) {
  std::string abandoned = "/tmp/tidewell-preview-XXXXXX";  // of one that was killed
  ASSERT_NE(::mkdtemp(abandoned.data()), nullptr);
  std::ofstream(abandoned + "/1") << "a copy";
  std::string held;
  {
    const tidewell::TemporaryFolder first;
    const tidewell::TemporaryFolder second;
    held = first.path();
    EXPECT_FALSE(std::filesystem::exists(abandoned));
    EXPECT_TRUE(std::filesystem::is_directory(held));
    EXPECT_NE(held, second.path());
  }
  EXPECT_FALSE(std::filesystem::exists(held));
}

}  // namespace
