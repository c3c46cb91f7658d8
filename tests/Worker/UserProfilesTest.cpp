// Which profiles Google Chrome and Chromium have.

#include "tests/support/MemoryLimit.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using testing_support::GrantedHomeTest;

constexpr char kChrome[] = "Library/Application Support/Google/Chrome/Local State";
constexpr char kChromium[] = "Library/Application Support/Chromium/Local State";
constexpr char kTwoProfiles[] =
    R"({"profile": {"info_cache": {"Default": {"name": "Ann"}, "Profile 1": {"name": "Work"}}}})";

class UserProfiles : public GrantedHomeTest {
 protected:
  tidewell::ProfileMap profilesOf(const std::string& localState) {
    platform.home.file(kChrome, localState);
    return worker->userProfiles("Google Chrome");
  }

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(UserProfiles, areKeyedByFolderWithTheirDisplayNames) {
  EXPECT_THAT(profilesOf(kTwoProfiles), ElementsAre(Pair("Default", "Ann"), Pair("Profile 1", "Work")));
}

TEST_F(UserProfiles, ofAnyOtherNameAreChromiums) {
  platform.home.file(kChrome, kTwoProfiles);
  platform.home.file(kChromium, R"({"profile": {"info_cache": {"Default": {"name": "Chromium's"}}}})");
  for (const char* name : {"Chromium", "chromium", "Opera", "google chrome", ""}) {
    EXPECT_THAT(worker->userProfiles(name), ElementsAre(Pair("Default", "Chromium's"))) << name;
  }
}

TEST_F(UserProfiles, withoutADisplayNameAreLeftOut) {
  EXPECT_THAT(profilesOf(R"({"profile": {"info_cache": {"A": {}, "B": {"name": "b"}, "C": {"name": 7},
                           "D": {"name": null}, "E": "text", "F": {"name": ["x"]}}}})"),
              ElementsAre(Pair("B", "b")));
}

TEST_F(UserProfiles, withAnEmptyDisplayNameAreThere) {
  EXPECT_THAT(profilesOf(R"({"profile": {"info_cache": {"A": {"name": ""}}}})"), ElementsAre(Pair("A", "")));
}

TEST_F(UserProfiles, areNoneWhereTheFileListsNone) {
  for (const char* text : {R"({"profile": {}})", R"({})", R"([])", R"({"profile": []})", R"({"profile": null})",
                           R"({"profile": {"info_cache": []}})", R"({"profile": {"info_cache": "x"}})", "1"}) {
    EXPECT_THAT(profilesOf(text), IsEmpty()) << text;
  }
}

TEST_F(UserProfiles, areNoneWhereTheFileIsEmptyOrNoJSON) {
  for (const std::string text : {"", "{", "not json", "{\"profile\":", "\xff\xfe{}"}) {
    EXPECT_THAT(profilesOf(text), IsEmpty()) << text;
  }
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(UserProfiles, areNoneWhereJSONIsNestedWithoutEnd) {
  EXPECT_THAT(profilesOf(std::string(100'000, '[')), IsEmpty());
}

TEST_F(UserProfiles, areNoneWhereValuesAreWithoutEnd) {
  const std::string profiles = R"({"profile": {"info_cache": {"A": {"name": "a"}}}, "x": [0)";
  std::string values;
  while (values.size() < std::size_t{16} << 20) values += ",{},[],{\"a\":[]}";
  EXPECT_THAT(profilesOf(profiles + values.substr(0, 1500) + "]}"), ElementsAre(Pair("A", "a")));
  EXPECT_TRUE(testing_support::succeedsWithMemory(std::size_t{256} << 20,
                                                  [&] { return profilesOf(profiles + values + "]}").empty(); }));
}

TEST_F(UserProfiles, areNoneWhereTheFileIsMissing) {
  platform.home.folder("Library/Application Support/Google/Chrome");
  EXPECT_THAT(worker->userProfiles("Google Chrome"), IsEmpty());
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

TEST_F(UserProfiles, areReadAfreshEachTime) {
  EXPECT_THAT(profilesOf(kTwoProfiles), ::testing::SizeIs(2));
  EXPECT_THAT(profilesOf(R"({"profile": {"info_cache": {}}})"), IsEmpty());
}

TEST_F(UserProfiles, keepNamesOfAnyScript) {
  EXPECT_THAT(profilesOf(R"({"profile": {"info_cache": {"Profil \u00e9": {"name": "\ud83d\ude00 Ann \"x\""}}}})"),
              ElementsAre(Pair("Profil é", "😀 Ann \"x\"")));
}

TEST_F(UserProfiles, ofOperaAreTheDataFolderItself) {
  EXPECT_THAT(worker->profileMap("Opera"), ElementsAre(Pair("", "Opera")));
  EXPECT_THAT(platform.journal.entriesAfter("read "), IsEmpty());
}

TEST_F(UserProfiles, asCleanersVisitThemAreThoseOfTheFile) {
  platform.home.file(kChrome, kTwoProfiles);
  EXPECT_EQ(worker->profileMap("Google Chrome"), worker->userProfiles("Google Chrome"));
}

}  // namespace
