// Databases with folders in them that are not theirs, as the browser's keys of push messages are.

#include "tests/Worker/formats/leveldb/LevelDatabaseTest.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Optional;
using testing_support::LevelDatabaseTest;

class LevelWithOthersFolder : public LevelDatabaseTest {
 protected:
  LevelWithOthersFolder() { write(folder + "/Inner/mine", "precious"); }

  Outcome keepBeside(const std::string& wanted, const std::string& precious = "precious") {
    return keepOnly(
        folder, [wanted](std::string_view key, std::string_view) { return key.find(wanted) != std::string_view::npos; },
        [precious](std::string_view bytes) { return bytes.find(precious) != std::string_view::npos; },
        [this](const std::string& path) {
          removed.push_back(path);
          files.removeItem(path);
        },
        {"Inner"});
  }
  void fill() {
    put(kAll);
    open([](leveldb::DB& database) { database.CompactRange(nullptr, nullptr); });
    put({{"gone late", "gone"}});
  }
  void expectThatTheFolderIsAsItWas() const { EXPECT_EQ(content(folder + "/Inner/mine"), "precious"); }

  const Entries kAll = {{"gone a", "gone value"}, {"kept a", "1"}, {"kept b", "2"}};
  const Entries kKept = {{"kept a", "1"}, {"kept b", "2"}};
};

TEST_F(LevelWithOthersFolder, isLeftUnlessTheFolderIsExpected) {
  fill();
  const auto before = platform.home.tree();
  EXPECT_EQ(keep("kept"), Outcome::kLeft);
  EXPECT_EQ(platform.home.tree(), before);
}

TEST_F(LevelWithOthersFolder, keepsTheChosenEntriesAndTheFolder) {
  fill();
  EXPECT_EQ(keepBeside("kept"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(kKept));
  EXPECT_THAT(allBytes(), Not(HasSubstr("gone")));
  EXPECT_FALSE(isThere(aside));
  expectThatTheFolderIsAsItWas();
}

TEST_F(LevelWithOthersFolder, withNothingChosenIsAnEmptyDatabase) {
  fill();
  EXPECT_EQ(keepBeside("nobody"), Outcome::kRewritten);
  EXPECT_THAT(inLibrary(), Optional(IsEmpty()));
  EXPECT_THAT(allBytes(), Not(HasSubstr("gone")));
  expectThatTheFolderIsAsItWas();
}

TEST_F(LevelWithOthersFolder, isNotTouchedASecondTime) {
  for (const std::string& wanted : {"kept"s, "nobody"s}) {
    fill();
    keepBeside(wanted);
    const auto before = platform.home.tree();
    removed.clear();
    EXPECT_EQ(keepBeside(wanted), Outcome::kRewritten);
    EXPECT_THAT(removed, IsEmpty());
    EXPECT_EQ(platform.home.tree(), before);
  }
}

TEST_F(LevelWithOthersFolder, thatIsDamagedGoesWithoutTheFolder) {
  fill();
  write(pathOf("MANIFEST"), "nothing that could be read");
  write(pathOf(".ldb"), "gone, and damaged");
  EXPECT_EQ(keepBeside("kept"), Outcome::kRemoved);
  EXPECT_THAT(names(), testing::ElementsAre("Inner"));
  expectThatTheFolderIsAsItWas();
}

TEST_F(LevelWithOthersFolder, thatIsDamagedStaysWithWhatIsPrecious) {
  fill();
  write(pathOf("MANIFEST"), "nothing that could be read");
  write(pathOf(".ldb"), "damaged, with something precious");
  const auto before = platform.home.tree();
  EXPECT_EQ(keepBeside("kept"), Outcome::kLeft);
  EXPECT_EQ(platform.home.tree(), before);
}

TEST_F(LevelWithOthersFolder, isLeftWhenALinkHasTheFoldersName) {
  fill();
  fs::rename(folder + "/Inner", platform.home.path("Inner"));
  fs::create_symlink(platform.home.path("Inner"), folder + "/Inner");
  EXPECT_EQ(keepBeside("kept"), Outcome::kLeft);
  EXPECT_EQ(content(platform.home.path("Inner/mine")), "precious");
}

TEST_F(LevelWithOthersFolder, aFolderWithoutADatabaseStays) {
  EXPECT_EQ(keepBeside("kept"), Outcome::kAbsent);
  expectThatTheFolderIsAsItWas();
}

TEST_F(LevelWithOthersFolder, aCallThatIsCutShortAtAnyStepIsEndedByTheNext) {
  int step = 0;
  for (bool isReached = true; isReached; ++step) {
    fs::remove_all(folder);
    write(folder + "/Inner/mine", "precious");
    fill();
    Entries all = kAll;
    all["gone late"] = "gone";
    files.operations = 0;
    files.failsFrom = step;
    files.failures = 1 << 30;
    keepBeside("kept");
    isReached = files.operations > step;
    files.failsFrom = 1 << 30;
    expectThatTheFolderIsAsItWas();
    ASSERT_TRUE(isThere(folder + "/CURRENT")) << step;  // a database at each moment
    ASSERT_THAT(inLibrary(), Optional(AnyOf(all, kKept))) << step;
    ASSERT_EQ(keepBeside("kept"), Outcome::kRewritten) << step;
    ASSERT_THAT(inLibrary(), Optional(kKept)) << step;
    ASSERT_THAT(allBytes(), Not(HasSubstr("gone"))) << step;
    expectThatTheFolderIsAsItWas();
  }
  EXPECT_GT(step, 20);
}

}  // namespace
