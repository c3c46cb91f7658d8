// The kinds of what a preview lists.

#include <set>

#include "MainApplication/preview/PreviewSums.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using testing_support::LinuxHomeTest;
using tidewell::GroupSum;
using tidewell::Preview;
using tidewell::PreviewGroup;

class PreviewGroups : public LinuxHomeTest {
 protected:
  PreviewGroups() { testing_support::fillLinuxSampleHome(platform.home); }

  Preview preview(const char* name) { return Preview::of(browser(name), platform.userDefaults); }

  /// The group of the item that the file is, or lies in.
  static PreviewGroup groupOf(const Preview& preview, const std::string& end) {
    for (const auto& item : preview.items) {
      if (item.path.ends_with(end)) return item.group;
    }
    ADD_FAILURE() << end << " is not in the preview";
    return PreviewGroup::kOther;
  }
};

TEST_F(PreviewGroups, areThoseOfTheStoresOfChromium) {
  const Preview chromium = preview("Chromium");
  EXPECT_EQ(groupOf(chromium, "/Cookies"), PreviewGroup::kCookies);
  EXPECT_EQ(groupOf(chromium, "/Session Storage"), PreviewGroup::kSiteData);
}

TEST_F(PreviewGroups, areThoseOfTheStoresOfFirefox) {
  EXPECT_EQ(groupOf(preview("Firefox"), "/cookies.sqlite"), PreviewGroup::kCookies);
}

TEST_F(PreviewGroups, isOtherForWhatPlugInsKeepAndForNothingElse) {
  for (const char* name : {"Firefox", "Chromium"}) {
    SCOPED_TRACE(name);
    const Preview all = preview(name);
    for (const auto& item : all.items) {
      const bool isOfPlugIn = item.path.find("/Flash_Player") != std::string::npos;
      EXPECT_EQ(item.group == PreviewGroup::kOther, isOfPlugIn) << item.path;
    }
    for (const auto& table : all.rows) EXPECT_NE(table.group, PreviewGroup::kOther) << table.database;
    for (const auto& file : all.rewritings) EXPECT_NE(file.group, PreviewGroup::kOther) << file.path;
  }
}

TEST_F(PreviewGroups, togetherAreThePreview) {
  const Preview all = preview("Chromium");
  std::uint64_t files = 0, rows = 0;
  for (const auto& item : all.items) files += item.files;
  for (const auto& table : all.rows) rows += table.rows;
  std::set<PreviewGroup> groups;
  for (const GroupSum& sum : sumsOf(all)) {
    EXPECT_TRUE(groups.insert(sum.group).second) << "each group once";
    files -= sum.files;
    rows -= sum.rows;
  }
  EXPECT_EQ(files, 0U);
  EXPECT_EQ(rows, 0U);
  EXPECT_GE(groups.size(), 2U);
}

TEST(PreviewSums, leaveOutGroupsOfWhichThereIsNothing) {
  Preview preview;
  EXPECT_TRUE(sumsOf(preview).empty());
  preview.items.push_back({"/a", 2, 10, PreviewGroup::kCaches});
  preview.rewritings.push_back({"/b", 5, PreviewGroup::kCaches});
  preview.rows.push_back({"/c", "t", 3, PreviewGroup::kCookies});
  const std::vector<GroupSum> sums = sumsOf(preview);
  ASSERT_EQ(sums.size(), 2U);
  EXPECT_EQ(sums[0], (GroupSum{PreviewGroup::kCookies, 0, 0, 3}));
  EXPECT_EQ(sums[1], (GroupSum{PreviewGroup::kCaches, 2, 15, 0}));
}

}  // namespace
