// Chromium's files of tabs that can't be rewritten, and databases of which only some tables are sites'.

#include "tests/support/LinuxHomeTest.h"
#include "tests/support/SampleWriter.h"

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::LinuxHomeTest;
using testing_support::SampleWriter;

constexpr char kProfile[] = ".config/chromium/Default/";
const std::string kReadable("SNSS\3\0\0\0", 8);
const std::string kEncrypted("SNSS\5\0\0\0\3\0v10", 13);

class TabFiles : public LinuxHomeTest {
 protected:
  TabFiles() {
    platform.home.file(".config/chromium/Local State", R"({"profile": {"info_cache": {"Default": {}}}})");
    platform.home.file(std::string(kProfile) + "Preferences", "{}");
    platform.home.folder(".cache/chromium/Default");
    for (const char* folder : {".config/chromium", ".cache/chromium"}) platform.grant(home(folder));
  }

  /// Writes the files, lets the browser quit, and says whether the encrypted one is gone.
  bool goes(const std::string& encrypted, const std::string& readable, const std::string& contents = kReadable) {
    const std::string path = std::string(kProfile) + "Sessions_Encrypted/" + encrypted;
    platform.home.file(path, kEncrypted);
    platform.home.file(std::string(kProfile) + "Sessions/" + readable, contents);
    quit("Chromium");
    std::filesystem::remove(home(std::string(kProfile) + "Sessions/" + readable));
    return !platform.home.exists(path);
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(TabFiles, thatAreEncryptedGoWhereTheSameTabsAreReadable) {
  EXPECT_TRUE(goes("Session_13439804643337505", "Session_13439804643337056"));
  EXPECT_TRUE(goes("Tabs_13439804643337505", "Tabs_13439804643337505"));
  EXPECT_TRUE(goes("Session_13439804643337505", "Session_13439904643337056")) << "later ones";
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(TabFiles, thatAreEncryptedStayWhereNoOthersHaveTheSameTabs) {
  EXPECT_FALSE(goes("Session_13439804643337505", "Tabs_13439804643337056")) << "of closed tabs";
  EXPECT_FALSE(goes("Session_13439804643337505", "Session_13439704643337056")) << "of an earlier time";
  EXPECT_FALSE(goes("Session_13439804643337505", "Session_13439804643337056", kEncrypted));
  EXPECT_FALSE(goes("Session_13439804643337505", "Session_13439804643337056", "no tabs"));
}

TEST_F(TabFiles, thatStayHaveALineInTheLog) {
  EXPECT_FALSE(goes("Session_13439804643337505", "notes"));
  ASSERT_THAT(platform.log.lines(), Not(IsEmpty()));
  EXPECT_THAT(platform.log.lines()[0], HasSubstr("Sessions_Encrypted of Chromium was left: it can't be read"));
}

TEST_F(TabFiles, inWhichNothingIsNeedNoReading) {
  for (const char* file : {"Sessions/Session_2", "Sessions/Tabs_2", "Sessions_Encrypted/Session_2"}) {
    platform.home.file(std::string(kProfile) + file, "");
  }
  quit("Chromium");
  EXPECT_THAT(platform.log.lines(), IsEmpty());
  EXPECT_TRUE(platform.home.exists(std::string(kProfile) + "Sessions/Session_2"));
}

TEST_F(TabFiles, ofLaterVersionsStayAsTheyAre) {
  const std::string path = std::string(kProfile) + "Sessions/Session_13439804643337056";
  platform.home.file(path, kEncrypted);
  quit("Chromium");
  EXPECT_EQ(platform.home.content(path), kEncrypted);
  ASSERT_THAT(platform.log.lines(), Not(IsEmpty()));
  EXPECT_THAT(platform.log.lines()[0], HasSubstr("Sessions of Chromium was left: it can't be read"));
}

TEST_F(TabFiles, andDatabasesOfThePersonAreNotWrittenWhereNothingOfSitesIsInThem) {
  const SampleWriter writer(platform.home, SampleWriter::Stage::kCleaned);
  testing_support::writeChromeProfile(writer, kProfile, ".cache/chromium/Default/", true);
  const std::string database = std::string(kProfile) + "Web Data";
  // A page that is free would go if it were written.
  testing_support::runStatements(home(database), "CREATE TABLE gone (a); DROP TABLE gone;");
  const std::string before = platform.home.content(database);
  quit("Chromium");
  EXPECT_EQ(platform.home.content(database), before);
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

}  // namespace
