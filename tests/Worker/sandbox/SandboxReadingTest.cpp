// The reading operations of Sandbox, through which all access to files goes.

#include <filesystem>

#include "Worker/sandbox/Sandbox.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using testing_support::GrantedHomeTest;
using tidewell::Sandbox;

class SandboxReading : public GrantedHomeTest {};

TEST_F(SandboxReading, anAbsentPathIsTheEmptyResultWithoutAQueueOrALine) {
  EXPECT_EQ(Sandbox::contentsOf(std::nullopt), "");
  EXPECT_THAT(Sandbox::folderContentsOf(std::nullopt), IsEmpty());
  EXPECT_FALSE(Sandbox::fileExists(std::nullopt));
  EXPECT_FALSE(Sandbox::fileIsDirectory(std::nullopt));
  EXPECT_THAT(Sandbox::fileAttributes(std::nullopt), IsEmpty());
  EXPECT_THAT(platform.dispatch.labels(), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
  EXPECT_THAT(platform.journal.entries(), IsEmpty());
}

TEST_F(SandboxReading, usesAQueueOfItsOwnForEachCall) {
  Sandbox::fileExists("~/a");
  Sandbox::fileExists("~/a");
  EXPECT_THAT(platform.dispatch.labels(), ElementsAre("com.emberlinestudio.com.TidewellWorker.task",
                                                      "com.emberlinestudio.com.TidewellWorker.task"));
}

TEST_F(SandboxReading, readsOnItsQueue) {
  platform.home.file("folder/a");
  Sandbox::contentsOf("~/folder/a");
  Sandbox::folderContentsOf("~/folder");
  EXPECT_THAT(platform.journal.placesOf("read "), ElementsAre("com.emberlinestudio.com.TidewellWorker.task"));
  EXPECT_THAT(platform.journal.placesOf("list "), ElementsAre("com.emberlinestudio.com.TidewellWorker.task"));
}

TEST_F(SandboxReading, contentsOfIsTheWholeText) {
  platform.home.file("a", "two\nlines é\n");
  EXPECT_EQ(Sandbox::contentsOf("~/a"), "two\nlines é\n");
}

TEST_F(SandboxReading, contentsOfAnEmptyFileIsEmpty) {
  platform.home.file("a", "");
  EXPECT_EQ(Sandbox::contentsOf("~/a"), "");
}

TEST_F(SandboxReading, contentsOfAGrantedButMissingFileIsAbsent) {
  EXPECT_EQ(Sandbox::contentsOf("~/missing"), std::nullopt);
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(SandboxReading, contentsOfWhatIsNotUTF8OrAFolderIsAbsent) {
  platform.home.file("a", "\xff\xfe");
  platform.home.folder("b");
  EXPECT_EQ(Sandbox::contentsOf("~/a"), std::nullopt);
  EXPECT_EQ(Sandbox::contentsOf("~/b"), std::nullopt);
}

TEST_F(SandboxReading, folderContentsOfAreBareNamesHiddenOnesIncluded) {
  platform.home.file("folder/b");
  platform.home.file("folder/a");
  platform.home.file("folder/.hidden");
  platform.home.file("folder/sub/deeper");
  EXPECT_THAT(Sandbox::folderContentsOf("~/folder"), UnorderedElementsAre("b", "a", ".hidden", "sub"));
}

TEST_F(SandboxReading, folderContentsOfAreInTheFileSystemsOrder) {
  for (int index = 0; index < 50; ++index) platform.home.file("folder/" + std::to_string(index * 7919 % 50));
  const auto names = Sandbox::folderContentsOf("~/folder");
  std::vector<std::string> listed;
  for (const auto& entry : std::filesystem::directory_iterator(home("folder")))
    listed.push_back(entry.path().filename());
  EXPECT_EQ(names, listed);
}

TEST_F(SandboxReading, folderContentsOfAMissingFolderOrAFileAreNone) {
  platform.home.file("a");
  EXPECT_THAT(Sandbox::folderContentsOf("~/missing"), IsEmpty());
  EXPECT_THAT(Sandbox::folderContentsOf("~/a"), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(SandboxReading, fileExistsTellsFilesAndFolders) {
  platform.home.file("folder/a");
  EXPECT_TRUE(Sandbox::fileExists("~/folder/a"));
  EXPECT_TRUE(Sandbox::fileExists("~/folder"));
  EXPECT_FALSE(Sandbox::fileExists("~/folder/b"));
}

TEST_F(SandboxReading, fileIsDirectoryTellsFolders) {
  platform.home.file("folder/a");
  platform.home.link("link", home("folder"));
  platform.home.link("nowhere", home("missing"));
  EXPECT_FALSE(Sandbox::fileIsDirectory("~/missing"));
  EXPECT_FALSE(Sandbox::fileIsDirectory("~/folder/a"));
  EXPECT_TRUE(Sandbox::fileIsDirectory("~/folder"));
  EXPECT_TRUE(Sandbox::fileIsDirectory("~/link"));
  EXPECT_FALSE(Sandbox::fileIsDirectory("~/nowhere"));
}

TEST_F(SandboxReading, fileAttributesAreThoseOfTheItem) {
  platform.home.file("a", "12345");
  platform.home.link("link", home("a"));
  const auto attributes = Sandbox::fileAttributes("~/a");
  EXPECT_EQ(attributes.at("NSFileType"), platform::Value("NSFileTypeRegular"));
  EXPECT_EQ(attributes.at("NSFileSize"), platform::Value(5));
  EXPECT_NE(attributes.at("NSFileModificationDate").as<platform::Date>(), nullptr);
  EXPECT_EQ(Sandbox::fileAttributes("~/link").at("NSFileType"), platform::Value("NSFileTypeSymbolicLink"));
  EXPECT_THAT(Sandbox::fileAttributes("~/missing"), IsEmpty());
}

TEST_F(SandboxReading, recordsABookmarkOfTheFolderThatHoldsTheGrantAtTheMost) {
  platform.home.file("folder/a");
  Sandbox::fileExists("~/folder/a");
  // The home folder's stored grant was enough, so no panel was shown; the path itself was not open yet.
  EXPECT_THAT(platform.userDefaults.keys(""), ElementsAre("bd_file://" + platform.home.path() + "/"));
}

TEST_F(SandboxReading, checkForScriptInFolderIsContentWhenTheScriptIsThere) {
  platform.home.file(".local/share/scripts/clearCookies.sh");
  Sandbox::checkForScriptInFolder();
  EXPECT_THAT(platform.log.lines(), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("panel "), IsEmpty());
}

TEST_F(SandboxReading, checkForScriptInFolderWaitsForThePersonOnAQueueOfItsOwn) {
  Sandbox::checkForScriptInFolder();
  EXPECT_THAT(platform.journal.entriesAfter("panel "), ElementsAre(home(".local/share/scripts")));
  EXPECT_THAT(platform.journal.placesOf("panel "), ElementsAre("com.emberlinestudio.com.TidewellWorker.task"));
  EXPECT_THAT(platform.dispatch.labels(), ElementsAre("com.emberlinestudio.com.TidewellWorker.task"));
  EXPECT_EQ(platform.openPanel.shown()[0].title, "Save Script");
}

TEST_F(SandboxReading, checkForScriptInFolderMakesTheFolder) {
  Sandbox::checkForScriptInFolder();
  EXPECT_TRUE(platform.home.exists(".local/share/scripts"));
}

}  // namespace
