// The main application's request for a browser's grants.

#include "Worker/browsers/Browsers.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::WorkerTest;

class AccessRequest : public WorkerTest {
 protected:
  AccessRequest() { useHome(); }

  void ask(const std::string& identifier) {
    worker->answerFrom_reply(identifier, [this](const std::string& text) {
      platform.journal.add("answer");
      answers.push_back(text);
    });
  }
  /// The items whose refusal was logged so far, below the home folder.
  std::vector<std::string> denied() const {
    std::vector<std::string> items;
    const std::string start = "Sandbox has denied access to " + platform.home.path() + "/";
    for (const std::string& line : platform.log.lines()) {
      items.push_back(line.starts_with(start) ? line.substr(start.size()) : line);
    }
    return items;
  }
  /// The folders of the panels so far, below the home folder.
  std::vector<std::string> panels() const {
    std::vector<std::string> folders;
    for (const std::string& path : platform.journal.entriesAfter("panel ")) {
      folders.push_back(path.substr(platform.home.path().size() + 1));
    }
    return folders;
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
  std::vector<std::string> answers;
};

TEST_F(AccessRequest, ofSafariTakesSixStepsInOrder) {
  ask("com.apple.Safari");
  platform.dispatch.runUntilIdle();
  ASSERT_THAT(platform.journal.entriesAfter("panel "), SizeIs(6));
  const auto folders = platform.journal.entriesAfter("panel ");
  EXPECT_EQ(folders[0], home("Library/Cookies"));
  EXPECT_EQ(folders[1], home("Library/Safari"));
  EXPECT_EQ(folders[2], home(".local/share/scripts"));
  EXPECT_EQ(folders[3], home("Library/Caches"));
  EXPECT_EQ(folders[4], home("Library/Application Support/Microsoft"));
  EXPECT_EQ(folders[5], home("Library/Preferences/Macromedia"));
}

TEST_F(AccessRequest, ofSafariAsksForTheseItemsAndNoOthers) {
  ask("com.apple.Safari");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(denied(), ElementsAre("Library/Cookies/", "Library/Safari/", ".local/share/scripts/clearCookies.sh",
                                    "Library/Caches", "Library/Application Support/Microsoft/Silverlight",
                                    "Library/Preferences/Macromedia/Flash Player"));
}

TEST_F(AccessRequest, ofTheOtherBrowsersAsksForTheseItemsAndNoOthers) {
  const std::vector<std::pair<std::string, std::string>> dataFolders = {
      {"org.mozilla.firefox", "Library/Application Support/Firefox/Profiles/"},
      {"com.google.Chrome", "Library/Application Support/Google/Chrome"},
      {"org.chromium.Chromium", "Library/Application Support/Chromium"},
      {"com.operasoftware.Opera", "Library/Application Support/com.operasoftware.Opera"}};
  std::vector<std::string> expected;
  for (const auto& [identifier, folder] : dataFolders) {
    ask(identifier);
    platform.dispatch.runUntilIdle();
    for (const std::string& item :
         {folder, std::string("Library/Caches"), std::string("Library/Application Support/Microsoft/Silverlight"),
          std::string("Library/Preferences/Macromedia/Flash Player")}) {
      expected.push_back(item);
    }
    EXPECT_EQ(denied(), expected) << identifier;
  }
}

TEST_F(AccessRequest, ofTheOtherBrowsersTakesFourSteps) {
  const std::vector<std::pair<std::string, std::string>> dataFolders = {
      {"org.mozilla.firefox", "Library/Application Support/Firefox"},
      {"com.google.Chrome", "Library/Application Support/Google"},
      {"org.chromium.Chromium", "Library/Application Support/Chromium"},
      {"com.operasoftware.Opera", "Library/Application Support/com.operasoftware.Opera"}};
  for (const auto& [identifier, folder] : dataFolders) {
    platform.journal.clear();
    ask(identifier);
    platform.dispatch.runUntilIdle();
    EXPECT_THAT(panels(), ElementsAre(folder, "Library/Caches", "Library/Application Support/Microsoft",
                                      "Library/Preferences/Macromedia"))
        << identifier;
  }
}

TEST_F(AccessRequest, isAnsweredWithTheIdentifierAndOneBlank) {
  ask("org.mozilla.firefox");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(answers, ElementsAre("bookmarked: org.mozilla.firefox "));
}

TEST_F(AccessRequest, ofAnUnknownIdentifierIsNeverAnswered) {
  for (const char* identifier : {"com.apple.safari", "com.google.Chrome.canary", "com.google.Chrom", "", "Safari",
                                 "com.apple.Safari ", "(null)"}) {
    ask(identifier);
  }
  EXPECT_EQ(platform.dispatch.waitingOnMain(), 0U);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(answers, IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(AccessRequest, ofABrowserThatIsOnOtherHomesAloneIsNeverAnswered) {
  for (const tidewell::Browser& browser : tidewell::browsers()) {
    if (!browser.isOnHomesWithLibrary()) ask(std::string(browser.bundleIdentifier));
  }
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(answers, IsEmpty());
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(AccessRequest, isAnsweredThoughEveryGrantWasRefused) {
  ask("com.google.Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(answers, SizeIs(1));
  EXPECT_THAT(platform.log.lines(), SizeIs(4));
}

TEST_F(AccessRequest, isAnsweredAfterTheLastStepAndNotBefore) {
  ask("com.google.Chrome");
  EXPECT_THAT(answers, IsEmpty());
  EXPECT_TRUE(platform.dispatch.runOneOnMain());  // adds the operation
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_TRUE(platform.dispatch.runOneInBackground());  // the steps
  EXPECT_THAT(panels(), SizeIs(4));
  EXPECT_THAT(answers, IsEmpty());
  EXPECT_TRUE(platform.dispatch.runOneInBackground());  // the completion
  EXPECT_THAT(answers, SizeIs(1));
  EXPECT_THAT(platform.journal.placesOf("answer"), ElementsAre("completion"));
}

TEST_F(AccessRequest, isOnlyHandedOverByItsCallerAndMadeAnOperationOnTheMainThread) {
  platform.dispatch.asBackgroundThread([this] { ask("com.google.Chrome"); });
  EXPECT_THAT(platform.journal.entriesAfter("operation queue"), IsEmpty());
  EXPECT_EQ(platform.dispatch.waitingInBackground(), 0U);
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.entriesAfter("operation queue on "), ElementsAre("main"));
}

TEST_F(AccessRequest, hasAnOperationQueueOfItsOwn) {
  ask("com.google.Chrome");
  ask("com.google.Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(platform.journal.entriesAfter("operation queue on "), ElementsAre("main", "main"));
}

TEST_F(AccessRequest, isAnsweredWhileAnotherOneStillWaitsForThePerson) {
  int panelsShown = 0;
  platform.openPanel.whileShown = [&] {
    if (++panelsShown > 1) return;
    ask("org.mozilla.firefox");
    platform.dispatch.runUntilIdle();
    EXPECT_THAT(answers, ElementsAre("bookmarked: org.mozilla.firefox "));
  };
  ask("com.google.Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(answers, ElementsAre("bookmarked: org.mozilla.firefox ", "bookmarked: com.google.Chrome "));
  EXPECT_THAT(panels(), SizeIs(8));
}

TEST_F(AccessRequest, asksForNothingASecondTime) {
  for (const char* folder : {"Library/Caches", "Library/Application Support/Google/Chrome",
                             "Library/Application Support/Microsoft", "Library/Preferences/Macromedia"}) {
    platform.home.folder(folder);
  }
  platform.openPanel.agreesToAll = true;
  ask("com.google.Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(panels(), SizeIs(4));
  platform.journal.clear();
  ask("com.google.Chrome");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(answers, SizeIs(2));
}

TEST_F(AccessRequest, ofSafariThatIsAgreedToInstallsTheScriptAndAsksForNothingASecondTime) {
  for (const char* folder : {"Library/Cookies", "Library/Safari", "Library/Caches",
                             "Library/Application Support/Microsoft", "Library/Preferences/Macromedia"}) {
    platform.home.folder(folder);
  }
  platform.bundle.resources["clearCookies.sh"] = platform.home.file("bundle/clearCookies.sh", "#!/bin/sh\n");
  platform.openPanel.agreesToAll = true;
  ask("com.apple.Safari");
  platform.dispatch.runUntilIdle();
  // The scripts folder is shown twice: to be allowed, and to be confirmed as the place for the script.
  EXPECT_THAT(panels(),
              ElementsAre("Library/Cookies", "Library/Safari", ".local/share/scripts", ".local/share/scripts",
                          "Library/Caches", "Library/Application Support/Microsoft", "Library/Preferences/Macromedia"));
  EXPECT_EQ(platform.openPanel.shown()[2].title, "Allow Access");
  EXPECT_EQ(platform.openPanel.shown()[3].title, "Save Script");
  EXPECT_TRUE(platform.home.exists(".local/share/scripts/clearCookies.sh"));
  platform.journal.clear();
  ask("com.apple.Safari");
  platform.dispatch.runUntilIdle();
  EXPECT_THAT(panels(), IsEmpty());
  EXPECT_THAT(answers, ElementsAre("bookmarked: com.apple.Safari ", "bookmarked: com.apple.Safari "));
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

}  // namespace
