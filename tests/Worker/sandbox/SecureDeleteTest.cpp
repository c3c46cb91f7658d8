// Overwriting in three passes.

#include <sys/stat.h>

#include <algorithm>

#include "Worker/sandbox/SecureDelete.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/WorkerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::WorkerTest;
using tidewell::SecureDelete;

class SecureDeletion : public WorkerTest {
 protected:
  SecureDeletion() { platform.scopes.openForProcess(platform::FileURL(platform.home.path(), true)); }

  std::string fileOf(std::size_t size) { return platform.home.file("a", std::string(size, 'x')); }
  std::vector<std::string> writes() const { return platform.journal.entriesAfter("write "); }
};

TEST_F(SecureDeletion, ofAnEmptyFileWritesNothingAndSucceeds) {
  const std::string path = fileOf(0);
  for (const int phase : {1, 2, 3}) EXPECT_TRUE(SecureDelete::wipe_phase(path, phase));
  EXPECT_TRUE(SecureDelete::wipe(path));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(SecureDeletion, writesChunksOf1024BytesAndTheRest) {
  const std::string path = fileOf(2500);
  EXPECT_TRUE(SecureDelete::wipe_phase(path, 1));
  EXPECT_THAT(platform.journal.entries(),
              ElementsAre("open " + path, "write 1024", "write 1024", "write 452", "close"));
  EXPECT_EQ(platform.home.content("a"), std::string(2500, '\x55'));
}

TEST_F(SecureDeletion, writes0xAAInTheSecondPass) {
  const std::string path = fileOf(2500);
  EXPECT_TRUE(SecureDelete::wipe_phase(path, 2));
  EXPECT_EQ(platform.home.content("a"), std::string(2500, '\xAA'));
}

TEST_F(SecureDeletion, writesRandomBytesBut255InTheThirdPass) {
  const std::string path = fileOf(200'000);
  EXPECT_TRUE(SecureDelete::wipe_phase(path, 3));
  const std::string content = platform.home.content("a");
  EXPECT_EQ(content.size(), 200'000U);
  EXPECT_EQ(content.find('\xff'), std::string::npos);
  EXPECT_GT(std::set<char>(content.begin(), content.end()).size(), 200U);
}

TEST_F(SecureDeletion, repeatsTheSame1024RandomBytes) {
  const std::string path = fileOf(2500);
  SecureDelete::wipe_phase(path, 3);
  const std::string content = platform.home.content("a");
  EXPECT_EQ(content.substr(0, 1024), content.substr(1024, 1024));
  EXPECT_EQ(content.substr(0, 452), content.substr(2048));
}

TEST_F(SecureDeletion, takesEachRandomNumberModulo255AfterSeedingOnce) {
  std::int64_t next = 250;
  platform.system.randomNumbers = [&next] { return next++; };
  const std::string path = fileOf(10);
  EXPECT_TRUE(SecureDelete::wipe_phase(path, 3));
  EXPECT_EQ(platform.home.content("a"), std::string("\xfa\xfb\xfc\xfd\xfe\x00\x01\x02\x03\x04", 10));
  EXPECT_EQ(next, 250 + 1024);
  EXPECT_THAT(platform.journal.entriesAfter("seed"), ::testing::SizeIs(1));
}

TEST_F(SecureDeletion, runsThreePassesEachFromTheStart) {
  const std::string path = fileOf(1);
  EXPECT_TRUE(SecureDelete::wipe(path));
  EXPECT_THAT(platform.journal.entries(), ElementsAre("open " + path, "write 1", "close", "open " + path, "write 1",
                                                      "close", "open " + path, "seed", "write 1", "close"));
}

TEST_F(SecureDeletion, neitherTruncatesNorRenames) {
  const std::string path = fileOf(2500);
  struct stat before {};
  struct stat after {};
  ::stat(path.c_str(), &before);
  EXPECT_TRUE(SecureDelete::wipe(path));
  ::stat(path.c_str(), &after);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(before.st_size, after.st_size);
}

TEST_F(SecureDeletion, ofWhatIsNotThereSucceeds) {
  EXPECT_TRUE(SecureDelete::wipe(home("missing")));
  EXPECT_TRUE(SecureDelete::wipeContentsofDir(home("missing")));
  EXPECT_THAT(platform.journal.entries(), IsEmpty());
}

TEST_F(SecureDeletion, ofAFolderSucceedsAndLeavesEveryFileAsItWas) {
  platform.home.file("folder/a", "12345");
  platform.home.file("folder/sub/b", "67890");
  const auto before = platform.home.tree();
  EXPECT_TRUE(SecureDelete::wipe(home("folder")));
  EXPECT_EQ(platform.home.tree(), before);
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(SecureDeletion, wipeContentsofDirWorksOnOneFile) {
  const std::string path = fileOf(3);
  EXPECT_TRUE(SecureDelete::wipeContentsofDir(path));
  EXPECT_THAT(writes(), ElementsAre("3", "3", "3"));
}

TEST_F(SecureDeletion, ofAnUnknownPassFailsAndWritesNothing) {
  const std::string path = fileOf(3);
  for (const int phase : {4, 0, -1}) EXPECT_FALSE(SecureDelete::wipe_phase(path, phase));
  EXPECT_THAT(writes(), IsEmpty());
  EXPECT_THAT(platform.journal.entriesAfter("close"), IsEmpty());  // the descriptor stays open
  EXPECT_EQ(platform.home.content("a"), "xxx");
}

TEST_F(SecureDeletion, ofAFileOutsideEveryScopeFails) {
  platform.elsewhere.file("a");
  EXPECT_FALSE(SecureDelete::wipe(platform.elsewhere.path("a")));
  EXPECT_EQ(platform.elsewhere.content("a"), "content");
}

TEST_F(SecureDeletion, ofAReadOnlyFileFails) {
  const std::string path = fileOf(3);
  ::chmod(path.c_str(), 0444);
  const testing_support::OrdinaryUser user(platform.home.path());
  EXPECT_FALSE(SecureDelete::wipe(path));
  EXPECT_EQ(platform.home.content("a"), "xxx");
}

TEST_F(SecureDeletion, thatCanNotReadTheSizeFailsAndLeavesTheDescriptorOpen) {
  const std::string path = fileOf(3);
  platform.system.statFails = true;
  EXPECT_FALSE(SecureDelete::wipe(path));
  EXPECT_THAT(platform.journal.entries(), ElementsAre("open " + path));
}

TEST_F(SecureDeletion, thatCanNotCloseFailsAndSkipsTheLaterPasses) {
  const std::string path = fileOf(3);
  platform.system.closeFails = true;
  EXPECT_FALSE(SecureDelete::wipe(path));
  EXPECT_FALSE(SecureDelete::wipeContentsofDir(path));
  EXPECT_EQ(platform.home.content("a"), "\x55\x55\x55");
}

TEST_F(SecureDeletion, goesOnWhenWritesFailAndCountsEachAsAByteMoreToGo) {
  const std::string path = fileOf(1000);
  platform.system.writesToFail = 30;
  EXPECT_TRUE(SecureDelete::wipe_phase(path, 1));
  // Each failure adds a byte, so 1030 are to be written: a chunk of 1024, and one of 6.
  EXPECT_THAT(writes(), ElementsAre("1024", "6"));
}

TEST_F(SecureDeletion, countsWhatWasWrittenAndNotWhatWasToBe) {
  const std::string path = fileOf(2500);
  platform.system.longestWrite = 1000;
  EXPECT_TRUE(SecureDelete::wipe_phase(path, 2));
  EXPECT_THAT(writes(), ElementsAre("1024", "1024", "500"));  // of which 1000, 1000 and 500 bytes are written
  EXPECT_EQ(platform.home.content("a"), std::string(2500, '\xAA'));
}

TEST_F(SecureDeletion, coversTheLow32BitsOfTheSizeOnly) {
  const std::string path = fileOf(0);
  ASSERT_EQ(::truncate(path.c_str(), (std::int64_t{1} << 32) + 5), 0);  // a sparse file, which takes no space
  EXPECT_TRUE(SecureDelete::wipe_phase(path, 1));
  EXPECT_THAT(writes(), ElementsAre("5"));
}

}  // namespace
