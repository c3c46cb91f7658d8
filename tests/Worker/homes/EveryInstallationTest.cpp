// Every browser of the table, in every place of its row: found, asked for and cleaned there, and nowhere else.

#include <algorithm>
#include <ostream>

#include "Worker/homes/Home.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::fillInstallation;
using testing_support::HomeContents;
using testing_support::LinuxHomeTest;
using testing_support::ScratchFolder;
using tidewell::Browser;
using tidewell::browsers;
using tidewell::Home;
using tidewell::Installation;
using Texts = std::vector<std::string>;

struct Installed {
  const Browser* browser;
  std::string data;  // below the home folder
  std::string caches;
};

void PrintTo(const Installed& installed, std::ostream* out) {
  *out << installed.browser->name << " in " << installed.data;
}

std::vector<Installed> everyInstallation() {
  std::vector<Installed> found;
  for (const Browser& browser : browsers()) {
    for (const tidewell::Place& place : browser.places) {
      found.push_back({&browser, std::string(place.dataFolder.substr(2)), std::string(place.cacheFolder.substr(2))});
    }
  }
  return found;
}

std::string nameOf(const ::testing::TestParamInfo<Installed>& info) {
  std::string name = std::string(info.param.browser->name) + "_" + info.param.data;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

class EveryInstallation : public LinuxHomeTest, public ::testing::WithParamInterface<Installed> {
 protected:
  static const Browser& browser() { return *GetParam().browser; }
  static const std::string& data() { return GetParam().data; }
  static const std::string& caches() { return GetParam().caches; }

  /// Makes a data folder without a profile.
  void makeDataFolder() {
    const bool isFirefox = browser().family == tidewell::Family::kFirefox;
    platform.home.file(data() + (isFirefox ? "/profiles.ini" : "/Local State"), "");
  }
  Texts needed() const {
    Texts folders = Home::current().layout->foldersNeededBy(browser());
    for (std::string& folder : folders) folder.erase(0, platform.home.path().size() + 1);
    return folders;
  }

  const std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_P(EveryInstallation, isFoundAloneAndAskedFor) {
  makeDataFolder();
  EXPECT_THAT(Home::current().layout->installationsOf(browser()), ElementsAre(Installation{home(data()), {}}));
  EXPECT_THAT(needed(), ElementsAre(data()));
  platform.home.folder(caches());
  EXPECT_THAT(Home::current().layout->installationsOf(browser()),
              ElementsAre(Installation{home(data()), {home(caches())}}));
  EXPECT_THAT(needed(), ElementsAre(data(), caches()));
}

TEST_P(EveryInstallation, isNoOtherBrowsers) {
  makeDataFolder();
  for (const Browser& other : browsers()) {
    if (&other == &browser()) continue;
    EXPECT_THAT(Home::current().layout->installationsOf(other), IsEmpty()) << other.name;
  }
}

TEST_P(EveryInstallation, isNoneWithoutItsDataFolder) {
  platform.home.folder(caches());
  platform.home.file(data());  // a file is no data folder
  EXPECT_THAT(Home::current().layout->installationsOf(browser()), IsEmpty());
  EXPECT_THAT(needed(), IsEmpty());
}

TEST_P(EveryInstallation, isCleanedOfWhatSitesHaveLeftAndOfNothingElse) {
  fillInstallation(platform.home, browser(), data(), caches(), false);
  platform.grant(home(data()));
  platform.grant(home(caches()));
  quit(browser().name);
  const ScratchFolder cleaned;
  fillInstallation(cleaned, browser(), data(), caches(), true);
  EXPECT_THAT(HomeContents(platform.home).differencesFrom(HomeContents(cleaned)), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_P(EveryInstallation, isLeftAloneByTheQuitsOfAllOthers) {
  fillInstallation(platform.home, browser(), data(), caches(), false);
  platform.grant(platform.home.path());
  const HomeContents before(platform.home);
  for (const Browser& other : browsers()) {
    if (&other != &browser()) quit(other.name);
  }
  const HomeContents after(platform.home);
  EXPECT_THAT(after.changedSince(before), IsEmpty());
  EXPECT_THAT(after.goneSince(before), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Of, EveryInstallation, ::testing::ValuesIn(everyInstallation()), nameOf);

TEST_F(LinuxHomeTest, aBrowserThatIsOnSuchHomesAloneIsKnownByItsNameAndByItsIdentifier) {
  const auto worker = makeWorker();
  platform.shared().insert_or_assign("displayNotifications", true);
  platform.shared().insert_or_assign("notifyAlways", true);
  for (const Browser& browser : browsers()) {
    if (browser.isOnHomesWithLibrary()) continue;
    const std::string name(browser.name);
    const std::string identifier(browser.bundleIdentifier);
    enable({identifier});
    platform.journal.clear();
    platform.workspace.quit(name, "com.example.Impostor");
    platform.workspace.quit("another name", identifier);
    platform.dispatch.advance(std::chrono::seconds(60));
    const std::string notice = "Tidewell: " + name + ": nothing was there to remove";
    EXPECT_THAT(platform.journal.entriesAfter("notify "), ElementsAre(notice, notice));
  }
}

TEST_F(LinuxHomeTest, aBrowserWhoseFoldersBelongToOtherProgramsTooNeedsAListOfProfiles) {
  for (const Browser& browser : browsers()) {
    if (!browser.needsProfilesList) continue;
    for (const tidewell::Place& place : browser.places) {
      platform.home.file(std::string(place.dataFolder.substr(2)) + "/ann.default/prefs.js");
    }
    EXPECT_THAT(Home::current().layout->installationsOf(browser), IsEmpty()) << browser.name;
  }
}

}  // namespace
