// Files that take the place of others, or are moved away, while somebody else saves them: by another file that is
// renamed to the file's name. Nothing that was saved last is ever lost.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Linux/files/LinuxFileManager.h"
#include "tests/Platform/Linux/files/SystemCalls.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::FileURL;
using platform::FileVersion;
using platform::ReadableFile;
using platform::Result;
using platform::linux_::LinuxFileManager;
using platform::linux_::SecurityScopes;
using testing_support::ScratchFolder;
using testing_support::SystemCalls;

class UnchangedFile : public ::testing::Test {
 protected:
  UnchangedFile() {
    scopes.openForProcess(FileURL(granted.path(), true));
    granted.file("file", "read");
    granted.file("file.new", "ours");
    read();
  }

  void read() {
    reading = std::move(files.readableFile(granted.path("file")).value().value());
    version = reading->version().value().value();
  }
  Result<bool> exchange() {
    return files.exchangeUnlessChanged(granted.path("file"), granted.path("file.new"), version);
  }
  Result<bool> moveAway() { return files.moveUnlessChanged(granted.path("file"), granted.path("file.old"), version); }
  void save(const std::string& contents) const {
    granted.file("file.tmp", contents);
    ASSERT_EQ(std::rename(granted.path("file.tmp").c_str(), granted.path("file").c_str()), 0);
  }
  /// Does these, one before each change of names.
  void beforeChanges(std::vector<std::function<void()>> actions) {
    if (actions.empty()) return;
    calls.beforeExchange = [this, actions] {
      actions.front()();
      beforeChanges({actions.begin() + 1, actions.end()});
    };
  }

  ScratchFolder granted;
  SecurityScopes scopes;
  LinuxFileManager files{scopes, granted.path("scripts")};
  std::unique_ptr<ReadableFile> reading;  // keeps its number from being given to another
  FileVersion version;
  SystemCalls calls;
};

TEST_F(UnchangedFile, isExchanged) {
  const Result<bool> isExchanged = exchange();
  ASSERT_TRUE(isExchanged);
  EXPECT_TRUE(*isExchanged);
  EXPECT_EQ(granted.content("file"), "ours");
  EXPECT_EQ(granted.content("file.new"), "read");
}

TEST_F(UnchangedFile, isExchangedOnTheDiskWhenTheOldOneMayBeOverwritten) {
  struct stat folder {};
  ASSERT_EQ(::stat(granted.path().c_str(), &folder), 0);
  ASSERT_TRUE(exchange());
  EXPECT_EQ(calls.flushed, std::vector<ino_t>{folder.st_ino});
}

TEST_F(UnchangedFile, isMovedAway) {
  const Result<bool> isMoved = moveAway();
  ASSERT_TRUE(isMoved);
  EXPECT_TRUE(*isMoved);
  EXPECT_FALSE(granted.exists("file"));
  EXPECT_EQ(granted.content("file.old"), "read");
}

TEST_F(UnchangedFile, isNoLongerThatWhenItWasSavedOrChangedOrRemoved) {
  for (const std::function<void()>& change : std::vector<std::function<void()>>{
           [&] { save("read"); },
           [&] { granted.file("file", "longer"); },
           [&] { std::filesystem::last_write_time(granted.path("file"), {}); },
           [&] { std::filesystem::remove(granted.path("file")); },
       }) {
    granted.file("file", "read");
    read();
    change();
    const std::string now = granted.exists("file") ? granted.content("file") : "";
    bool wasTouched = false;
    beforeChanges({[&] { wasTouched = true; }});
    for (const Result<bool>& result : {exchange(), moveAway()}) {
      ASSERT_TRUE(result);
      EXPECT_FALSE(*result);
    }
    EXPECT_FALSE(wasTouched);
    EXPECT_EQ(granted.exists("file") ? granted.content("file") : "", now);
  }
}

TEST_F(UnchangedFile, givesWayToWhatWasSavedBeforeTheExchange) {
  beforeChanges({[&] { save("saved"); }});
  const Result<bool> isExchanged = exchange();
  ASSERT_TRUE(isExchanged);
  EXPECT_FALSE(*isExchanged);
  EXPECT_EQ(granted.content("file"), "saved");
  EXPECT_EQ(granted.content("file.new"), "ours");
}

TEST_F(UnchangedFile, givesWayToTheLastOfManyThatAreSavedMeanwhile) {
  for (int count = 2; count < 8; ++count) {
    granted.file("file", "read");
    granted.file("file.new", "ours");
    read();
    std::vector<std::function<void()>> saves;
    for (int index = 1; index <= count; ++index) {
      saves.emplace_back([=, this] {
        save("-");  // frees the number of the one before, which the next may get
        save(std::to_string(index));
      });
    }
    beforeChanges(std::move(saves));
    const Result<bool> isExchanged = exchange();
    ASSERT_TRUE(isExchanged) << count;
    EXPECT_FALSE(*isExchanged);
    EXPECT_EQ(granted.content("file"), std::to_string(count));
  }
}

TEST_F(UnchangedFile, givesWayToWhatIsWrittenIntoOurs) {
  beforeChanges({[&] { save("saved"); }, [&] { granted.file("file", "written in place"); }});
  const Result<bool> isExchanged = exchange();
  ASSERT_TRUE(isExchanged);
  EXPECT_FALSE(*isExchanged);
  EXPECT_EQ(granted.content("file"), "written in place");
}

TEST_F(UnchangedFile, keepsWhatWasSavedThoughOursIsRemovedMeanwhile) {
  beforeChanges({[&] { save("saved"); }, [&] { std::filesystem::remove(granted.path("file")); }});
  ASSERT_TRUE(exchange());
  EXPECT_EQ(granted.content("file"), "saved");
  EXPECT_FALSE(granted.exists("file.new"));
}

TEST_F(UnchangedFile, keepsWhatWasSavedAfterOursWasRemoved) {
  beforeChanges(
      {[&] { save("saved"); }, [&] { std::filesystem::remove(granted.path("file")); }, [&] { save("saved again"); }});
  ASSERT_TRUE(exchange());
  EXPECT_EQ(granted.content("file"), "saved again");
}

TEST_F(UnchangedFile, isMovedBackWhenItIsAnotherOneThatWasSaved) {
  beforeChanges({[&] { save("saved"); }});
  const Result<bool> isMoved = moveAway();
  ASSERT_TRUE(isMoved);
  EXPECT_FALSE(*isMoved);
  EXPECT_EQ(granted.content("file"), "saved");
  EXPECT_FALSE(granted.exists("file.old"));
}

TEST_F(UnchangedFile, isNotMovedBackOverWhatWasSavedSince) {
  beforeChanges({[&] { save("saved"); }, [&] { save("saved again"); }});
  const Result<bool> isMoved = moveAway();
  ASSERT_TRUE(isMoved);
  EXPECT_FALSE(*isMoved);
  EXPECT_EQ(granted.content("file"), "saved again");
}

TEST_F(UnchangedFile, isMovedToAFreePlaceOnly) {
  granted.file("file.old", "theirs");
  EXPECT_EQ(moveAway().error(), std::errc::file_exists);
  EXPECT_EQ(granted.content("file"), "read");
  EXPECT_EQ(granted.content("file.old"), "theirs");
}

TEST_F(UnchangedFile, staysWhereTheFileSystemCanNotExchange) {
  for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP}) {
    calls.exchangeError = error;
    EXPECT_EQ(exchange().error(), std::errc::not_supported) << error;
    EXPECT_EQ(moveAway().error(), std::errc::not_supported) << error;
  }
  EXPECT_EQ(granted.content("file"), "read");
  EXPECT_EQ(granted.content("file.new"), "ours");
}

TEST_F(UnchangedFile, isBroughtBackWhenTheFolderCanNotBeFlushed) {
  calls.failingFlush = 1;
  const Result<bool> isExchanged = exchange();
  ASSERT_TRUE(isExchanged);
  EXPECT_FALSE(*isExchanged);
  EXPECT_EQ(granted.content("file"), "read");
  EXPECT_EQ(granted.content("file.new"), "ours");
}

TEST_F(UnchangedFile, ofSomebodyWhoSavesAllTheTimeIsNotFoughtOverForEver) {
  std::function<void()> again = [&] {
    save("saved");
    calls.beforeExchange = again;
  };
  calls.beforeExchange = again;
  EXPECT_EQ(exchange().error(), std::errc::resource_unavailable_try_again);
  EXPECT_EQ(granted.content("file"), "saved");
}

TEST_F(UnchangedFile, isRefusedOutsideOfTheGrants) {
  ScratchFolder elsewhere;
  elsewhere.file("file", "theirs");
  for (const auto& [path, other] : {std::pair(granted.path("file"), elsewhere.path("file")),
                                    std::pair(elsewhere.path("file"), granted.path("file"))}) {
    EXPECT_EQ(files.exchangeUnlessChanged(path, other, version).error(), std::errc::operation_not_permitted);
    EXPECT_EQ(files.moveUnlessChanged(path, other, version).error(), std::errc::operation_not_permitted);
  }
  EXPECT_EQ(elsewhere.content("file"), "theirs");
}

TEST_F(UnchangedFile, isNeverExchangedForOneThatWasSavedAtFullSpeed) {
  calls.skipsFlushes = true;
  int last = 0;
  int exchanged = 0;
  int round = 0;
  // More rounds where nobody has come between yet.
  for (; round < 300 || (exchanged == round && round < 30'000); ++round) {
    save(std::to_string(++last));
    std::atomic<bool> goes = false;
    std::thread saver([&] {
      while (!goes) std::this_thread::yield();
      for (int times = 0; times < round % 5; ++times) save(std::to_string(++last));
    });
    goes = true;
    read();
    const std::string number = reading->read(0, 100).value().value();
    granted.file("file.new", number + " ours");
    const Result<bool> isExchanged = exchange();
    ASSERT_TRUE(isExchanged) << isExchanged.error().message();
    if (*isExchanged) ++exchanged;
    saver.join();
    ASSERT_EQ(std::stoi(granted.content("file")), last);
  }
  EXPECT_GT(exchanged, 0);
  EXPECT_LT(exchanged, round);
}

}  // namespace
