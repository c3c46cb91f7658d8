// The table of browsers, and docs/browsers.md, which lists them.

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "Worker/browsers/Browsers.h"
#include "Worker/browsers/Family.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsNull;
using tidewell::Browser;
using tidewell::browserCalled;
using tidewell::browserNamed;
using tidewell::browsers;
using tidewell::browserWithIdentifier;
using tidewell::Place;

TEST(Browsers, eachHasALineInThePageForPeople) {
  std::ifstream file(TIDEWELL_DOCS "/browsers.md");
  const std::string page(std::istreambuf_iterator<char>(file), {});
  for (const Browser& browser : browsers()) {
    std::string words;
    for (const std::string_view word : browser.words) words += (words.empty() ? "`" : ", `") + std::string(word) + "`";
    EXPECT_THAT(page, HasSubstr("\n| " + std::string(browser.name) + " | " + words + " | `" +
                                std::string(browser.bundleIdentifier) + "` | "));
  }
}

TEST(Browsers, areFoundByNameAndIdentifierExactly) {
  for (const Browser& browser : browsers()) {
    EXPECT_EQ(browserNamed(browser.name), &browser);
    EXPECT_EQ(browserWithIdentifier(browser.bundleIdentifier), &browser);
    EXPECT_THAT(browserNamed(std::string(browser.name) + " "), IsNull());
    EXPECT_THAT(browserNamed(browser.bundleIdentifier), IsNull());
  }
  EXPECT_THAT(browserNamed("safari"), IsNull());
  EXPECT_THAT(browserNamed(""), IsNull());
  EXPECT_THAT(browserWithIdentifier("org.mozilla.Firefox"), IsNull());
}

TEST(Browsers, areWhatAPersonCallsThem) {
  for (const Browser& browser : browsers()) {
    EXPECT_EQ(browserCalled(browser.name), &browser);
    EXPECT_EQ(browserCalled(browser.bundleIdentifier), &browser);
    ASSERT_FALSE(browser.words.empty()) << browser.name;
    for (const std::string_view word : browser.words) {
      EXPECT_EQ(browserCalled(word), &browser) << word;
      EXPECT_EQ(word.find_first_not_of("abcdefghijklmnopqrstuvwxyz-"), std::string_view::npos) << word;
    }
  }
  EXPECT_EQ(browserCalled("FireFox-ESR"), browserNamed("Firefox"));
  EXPECT_EQ(browserCalled("ORG.CHROMIUM.CHROMIUM"), browserNamed("Chromium"));
  EXPECT_EQ(browserCalled("google chrome"), browserNamed("Google Chrome"));
  for (const char* text : {"", " firefox", "lynx", "google", "fire"})
    EXPECT_THAT(browserCalled(text), IsNull()) << text;
}

TEST(Browsers, shareNothingByWhichTheyAreTold) {
  std::set<std::string_view> told;
  for (const Browser& browser : browsers()) {
    EXPECT_TRUE(told.insert(browser.name).second) << browser.name;
    EXPECT_TRUE(told.insert(browser.bundleIdentifier).second) << browser.bundleIdentifier;
    for (const auto* list : {&browser.words}) {
      for (const std::string_view word : *list) EXPECT_TRUE(told.insert(word).second) << word;
    }
  }
  std::set<std::string_view> programs;
  std::set<std::string_view> folders;
  for (const Browser& browser : browsers()) {
    EXPECT_FALSE(browser.executableNames.empty()) << browser.name;
    for (const std::string_view name : browser.executableNames) EXPECT_TRUE(programs.insert(name).second) << name;
    for (const std::string_view place : browser.executablePlaces) EXPECT_TRUE(programs.insert(place).second) << place;
    for (const Place& place : browser.places) EXPECT_TRUE(folders.insert(place.dataFolder).second) << place.dataFolder;
  }
}

TEST(Browsers, lieSomewhereInTheHome) {
  for (const Browser& browser : browsers()) {
    EXPECT_TRUE(browser.isOnHomesWithLibrary() || browser.isOnOtherHomes()) << browser.name;
    for (const Place& place : browser.places) {
      for (const std::string_view folder : {place.dataFolder, place.cacheFolder}) {
        EXPECT_TRUE(folder.starts_with("~/")) << folder;
        EXPECT_FALSE(folder.ends_with("/")) << folder;
        EXPECT_EQ(folder.find(".."), std::string_view::npos) << folder;
      }
    }
    for (const std::string_view place : browser.executablePlaces) {
      EXPECT_TRUE(place.starts_with("/") || place.starts_with("~/")) << place;
    }
  }
}

TEST(Browsers, onHomesWithALibraryAreFive) {
  std::vector<std::string_view> names;
  for (const Browser& browser : browsers()) {
    if (browser.isOnHomesWithLibrary()) names.push_back(browser.name);
  }
  EXPECT_THAT(names, ::testing::ElementsAre("Safari", "Firefox", "Google Chrome", "Chromium", "Opera"));
}

TEST(Browsers, areWatchedWithTheMarksOfTheirFamilysHelpers) {
  for (const Browser& browser : browsers()) {
    const platform::WatchedApplication application = watched(browser);
    EXPECT_EQ(application.applicationName, browser.name);
    EXPECT_EQ(application.bundleIdentifier, browser.bundleIdentifier);
    EXPECT_EQ(application.executableNames.size(), browser.executableNames.size());
    EXPECT_EQ(application.executablePlaces.size(), browser.executablePlaces.size());
    EXPECT_EQ(application.helperMarks.size(), factsOf(browser.family).helperMarks.size());
  }
}

}  // namespace
