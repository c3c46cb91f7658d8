// LevelDB databases that are read in cells: what comes of them, and what is made of cells that lie.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "Worker/cells/LevelInCell.h"
#include "Worker/formats/leveldb/LevelDatabase.h"
#include "tests/support/BrowserFiles.h"
#include "tests/support/ScriptedCells.h"
#include "tests/support/TestPlatform.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::Pair;
using testing_support::LevelEntries;
using testing_support::ScriptedCells;
using testing_support::TestPlatform;
using tidewell::ChromiumDatabase;
using tidewell::KeptSites;
using tidewell::LevelDatabase;
using tidewell::levelMessage;
using tidewell::LevelReadQuestion;
using tidewell::LevelSaying;
using tidewell::LevelVerdict;
using Outcome = LevelDatabase::Outcome;

const LevelEntries kStored = {{"META:chrome-extension://abc", "1"},
                              {"META:https://visited.example", "1"},
                              {std::string("_chrome-extension://abc\0\1item", 30), "kept"},
                              {std::string("_https://visited.example\0\1item", 31), "gone"},
                              {"VERSION", "1"}};

std::string verdict(LevelVerdict verdict) {
  return tidewell::LevelJudgement{verdict}.asMessage();
}

class LevelInCell : public ::testing::Test {
 protected:
  LevelInCell() {
    platform.scopes.openForProcess(platform::FileURL(platform.home.path(), true));
    testing_support::putInLevelDatabase(folder, kStored);
    platform.home.file("neighbour", "mine");
  }

  /// With the answers of the first cell; all others find what they judge fine.
  void lie(const std::function<std::optional<std::string>(std::size_t message, std::string_view heard)>& answer) {
    auto count = std::make_shared<std::size_t>(0);
    use([answer, count](std::size_t cell, std::string_view heard) -> std::optional<std::string> {
      return cell == 1 ? answer(++*count, heard) : verdict(LevelVerdict::kIsFine);
    });
  }
  void use(ScriptedCells::Script script) {
    cells = std::make_unique<ScriptedCells>(std::move(script));
    TestPlatform& p = platform;
    withCells = std::make_unique<platform::Platform>(platform::Platform{
        p.bundle, p.dispatch, p.fileManager, p.fileManagerOnOneMount, p.log, p.openPanel, p.scopes, p.system,
        p.userDefaults, p.notificationCenter, p.userScripts, p.workspace, *cells, p.confinement});
    platform::Platform::install(withCells.get());
  }

  Outcome clean(tidewell::LevelInCell& with) {
    return LevelDatabase::keepOnly(folder, with,
                                   [this](const std::string& path) { platform.fileManager.removeItem(path); });
  }
  Outcome clean() { return clean(reader); }

  /// Expects that the database is left because of its bytes, as it was.
  void expectThatItIsLeft() {
    const auto before = platform.home.tree();
    EXPECT_EQ(clean(), Outcome::kLeft);
    EXPECT_TRUE(reader.isUnreadable());
    EXPECT_EQ(platform.home.tree(), before);
  }

  TestPlatform platform;
  const std::string folder = platform.home.path("Local Storage/leveldb");
  tidewell::LevelInCell reader{ChromiumDatabase::kLocalStorage, {}};
  std::unique_ptr<ScriptedCells> cells;
  std::unique_ptr<platform::Platform> withCells;
};

TEST_F(LevelInCell, keepsWhatIsNoSites) {
  EXPECT_EQ(clean(), Outcome::kRewritten);
  LevelEntries kept = kStored;
  std::erase_if(kept, [](const auto& entry) { return entry.first.find("visited") != std::string::npos; });
  EXPECT_THAT(testing_support::levelEntriesOf(folder), Optional(kept));
  EXPECT_FALSE(reader.isUnreadable());
  EXPECT_EQ(clean(), Outcome::kRewritten);  // nothing is left to do
}

TEST_F(LevelInCell, keepsWhatBelongsToKeptSites) {
  tidewell::LevelInCell keeping(ChromiumDatabase::kLocalStorage, KeptSites::of({"visited.example"}));
  EXPECT_EQ(clean(keeping), Outcome::kRewritten);
  EXPECT_THAT(testing_support::levelEntriesOf(folder), Optional(kStored));
}

TEST_F(LevelInCell, removesADatabaseOfWhichNothingStays) {
  tidewell::LevelInCell keys(ChromiumDatabase::kPushKeys, {});
  std::filesystem::remove_all(folder);
  testing_support::putInLevelDatabase(folder, {{"wp:https://visited.example/#1", "key"}});
  EXPECT_EQ(clean(keys), Outcome::kRemoved);
  EXPECT_FALSE(platform.home.exists("Local Storage/leveldb"));
}

TEST_F(LevelInCell, writesAnEmptyOneAroundFoldersOfOthers) {
  std::filesystem::remove_all(folder);
  testing_support::putInLevelDatabase(folder, {{"reg1-wp:https://visited.example/#1", "x"}});
  platform.home.folder("Local Storage/leveldb/Encryption");
  tidewell::LevelInCell registrations(ChromiumDatabase::kPushRegistrations, {});
  EXPECT_EQ(LevelDatabase::keepOnly(folder, registrations,
                                    [this](const std::string& path) { platform.fileManager.removeItem(path); },
                                    {"Encryption"}),
            Outcome::kRewritten);
  EXPECT_THAT(LevelDatabase::entries(folder), ::testing::Eq(std::nullopt));  // the folder is none that it knows
  std::filesystem::remove_all(folder + "/Encryption");
  EXPECT_THAT(testing_support::levelEntriesOf(folder), Optional(IsEmpty()));
}

TEST_F(LevelInCell, tellsTheFoldersOfThoseWhoStay) {
  std::filesystem::remove_all(folder);
  testing_support::putInLevelDatabase(folder, {{"LAST_PATH", "2"},
                                               {"ORIGIN:chrome-extension_abc_0", "000"},
                                               {"ORIGIN:https_kept.example_0", "001"},
                                               {"ORIGIN:https_visited.example_0", "002"}});
  tidewell::LevelInCell systems(ChromiumDatabase::kFileSystems, KeptSites::of({"kept.example"}));
  EXPECT_EQ(clean(systems), Outcome::kRewritten);
  EXPECT_THAT(systems.takeFolders(), ElementsAre("000", "001"));
}

TEST_F(LevelInCell, aDatabaseLargerThanAnyMessageIsReadInParts) {
  std::filesystem::remove_all(folder);
  LevelEntries many;
  for (int item = 0; item < 3000; ++item) {
    const std::string number = std::to_string(item);
    many["_https://visited.example" + std::string(1, '\0') + number] = std::string(2000, 'g');
    many["_chrome-extension://abc" + std::string(1, '\0') + number] = std::string(2000, 'k') + number;
  }
  testing_support::putInLevelDatabase(folder, many);
  EXPECT_EQ(clean(), Outcome::kRewritten);
  std::erase_if(many, [](const auto& entry) { return entry.first.find("visited") != std::string::npos; });
  EXPECT_THAT(testing_support::levelEntriesOf(folder), Optional(many));
}

TEST_F(LevelInCell, withoutACellNothingIsDone) {
  use([](std::size_t, std::string_view) { return std::nullopt; });
  expectThatItIsLeft();
  cells->canOpen = false;
  expectThatItIsLeft();
}

TEST_F(LevelInCell, aCellThatSaysNonsenseIsNotBelieved) {
  for (const std::string& nonsense :
       {std::string(), std::string("nonsense"), levelMessage(LevelSaying::kDone), levelMessage(LevelSaying::kVerdict),
        levelMessage(LevelSaying::kVerdict, "\4"), levelMessage(LevelSaying::kVerdict, "\3\7name"),
        levelMessage(LevelSaying::kRead, "\1"), levelMessage(LevelSaying::kFailed),
        levelMessage(LevelSaying::kDone, "\2")}) {
    lie([&nonsense](std::size_t, std::string_view) { return nonsense; });
    expectThatItIsLeft();
  }
}

TEST_F(LevelInCell, aCellReadsNoFileButTheDatabases) {
  std::vector<std::string> heard;
  lie([&heard](std::size_t message, std::string_view said) -> std::optional<std::string> {
    if (message > 1) heard.emplace_back(said);
    // Files that are not in the list, and more than any reader wants at once.
    if (message == 1) return LevelReadQuestion{99, 0, 10}.asMessage();
    if (message == 2) return LevelReadQuestion{~std::uint64_t{0}, 0, 10}.asMessage();
    if (message == 3) return LevelReadQuestion{0, 0, std::uint64_t{1} << 40}.asMessage();
    if (message == 4) return LevelReadQuestion{0, ~std::uint64_t{0} >> 1, 10}.asMessage();
    if (message == 5) return LevelReadQuestion{0, 0, 10}.asMessage();
    return std::nullopt;
  });
  expectThatItIsLeft();
  EXPECT_THAT(heard, ElementsAre("-", "-", "-", ::testing::AnyOf("-", "+"), "+MANIFEST-0"));
}

TEST_F(LevelInCell, aCellThatReadsForEverIsEnded) {
  for (const std::uint64_t file : {std::uint64_t{0}, std::uint64_t{99}}) {  // one of the database's, and none
    std::size_t questions = 0;
    lie([&questions, file](std::size_t message, std::string_view) {
      questions = message;
      return LevelReadQuestion{file, 0, 16}.asMessage();
    });
    expectThatItIsLeft();
    EXPECT_LT(questions, 10'000U);
  }
}

TEST_F(LevelInCell, aCellWritesNothingBeforeItIsAskedTo) {
  for (const LevelSaying kind : {LevelSaying::kTable, LevelSaying::kManifest}) {
    lie([kind](std::size_t, std::string_view) { return levelMessage(kind, "evil"); });
    expectThatItIsLeft();
  }
}

TEST_F(LevelInCell, aCellWritesNoMoreThanThereCanBe) {
  const std::string table(std::size_t{40} << 20, 'x');
  std::size_t written = 0;
  lie([&](std::size_t message, std::string_view) {
    if (message == 1) return verdict(LevelVerdict::kRewrite);
    written = message;
    return levelMessage(LevelSaying::kTable, table);
  });
  expectThatItIsLeft();
  EXPECT_LT(written, 100U);
}

TEST_F(LevelInCell, whatACellHasBuiltIsJudgedByAnother) {
  for (const LevelVerdict second : {LevelVerdict::kLeave, LevelVerdict::kRemove, LevelVerdict::kRewrite}) {
    use([second](std::size_t cell, std::string_view heard) -> std::optional<std::string> {
      if (cell % 2 == 0) return verdict(second);
      if (heard.size() > 1 && heard[0] != '+') return verdict(LevelVerdict::kRewrite);
      return heard.size() == 1 && heard[0] != '+' ? levelMessage(LevelSaying::kTable, "evil")
                                                  : levelMessage(LevelSaying::kDone);
    });
    expectThatItIsLeft();
    EXPECT_EQ(cells->opened, 2U);
  }
}

TEST_F(LevelInCell, aCellThatEndsWhileItWritesLeavesTheDatabaseAsItWas) {
  lie([](std::size_t message, std::string_view) -> std::optional<std::string> {
    if (message == 1) return verdict(LevelVerdict::kRewrite);
    if (message == 2) return levelMessage(LevelSaying::kTable, "half");
    return std::nullopt;
  });
  expectThatItIsLeft();
}

}  // namespace
