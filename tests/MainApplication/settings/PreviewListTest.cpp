// The preview as the window shows it.

#include <gtest/gtest.h>

#include "MainApplication/settings/PreviewList.h"

namespace {

using tidewell::PreviewList;

constexpr char kPreview[] = R"({
  "browser": "Firefox",
  "items": [
    {"path": "/home/ann/.cache/firefox/small", "files": 1, "bytes": 1000, "allowed": true, "group": "caches"},
    {"path": "/home/ann/.cache/firefox/large", "files": 7, "bytes": 5000000, "allowed": false, "group": "caches"},
    {"path": "/elsewhere/\u202eevil", "files": 2, "bytes": 10, "allowed": true}],
  "rows": [{"database": "/home/ann/.mozilla/cookies.sqlite", "table": "moz_cookies", "rows": 4, "group": "cookies"}],
  "rewritten": [{"path": "/home/ann/.mozilla/prefs.js", "bytes": 300, "allowed": true, "group": "site-data"}],
  "total": {"files": 10, "bytes": 5001310, "rows": 4},
  "kept": {"items": [{"path": "/home/ann/kept", "files": 1, "bytes": 5}], "rows": [], "rewritten": []}})";

PreviewList listOf(const std::string& output) {
  const auto list = PreviewList::from(output, "/home/ann");
  EXPECT_TRUE(list.has_value());
  return list.value_or(PreviewList());
}

TEST(PreviewList, hasTheGroupsInTheOrderInWhichPeopleReadThem) {
  std::vector<std::string> names;
  for (const PreviewList::Group& group : listOf(kPreview).groups) names.push_back(group.name);
  EXPECT_EQ(names, (std::vector<std::string>{"Cookies", "Site data", "Caches", "Other", "Stays, of kept sites"}));
}

TEST(PreviewList, hasTheLargestLineOfAGroupFirst) {
  const PreviewList::Group caches = listOf(kPreview).groups.at(2);
  ASSERT_EQ(caches.lines.size(), 2U);
  EXPECT_EQ(caches.lines[0].place, "~/.cache/firefox/large");
  EXPECT_NE(caches.lines[0].details.find("not allowed yet"), std::string::npos);
  EXPECT_EQ(caches.bytes, 5001000U);
}

TEST(PreviewList, showsNoTextThatCouldMislead) {
  EXPECT_EQ(listOf(kPreview).groups.at(3).lines.at(0).place, "/elsewhere/\\u202eevil");
}

TEST(PreviewList, hasATotal) {
  EXPECT_NE(listOf(kPreview).total.find("10"), std::string::npos);
}

TEST(PreviewList, isEmptyWhereNothingWouldGo) {
  const PreviewList list =
      listOf(R"({"items": [], "rows": [], "rewritten": [], "total": {"files": 0, "bytes": 0, "rows": 0}})");
  EXPECT_TRUE(list.groups.empty());
  EXPECT_EQ(list.total, "");
}

TEST(PreviewList, isNoneOfAnotherText) {
  EXPECT_FALSE(PreviewList::from("tidewell: the disk is gone", "/home/ann"));
  EXPECT_FALSE(PreviewList::from("{}", "/home/ann"));
  EXPECT_FALSE(PreviewList::from("", "/home/ann"));
}

}  // namespace
