// "tidewell history": what the last cleanings have done.

#include <gmock/gmock.h>

#include <cerrno>
#include <sstream>

#include "MainApplication/command/Commands.h"
#include "Worker/Identity.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using tidewell::Cause;
using tidewell::Left;
using tidewell::Report;
using tidewell::StoreGroup;

class HistoryCommand : public ::testing::Test {
 protected:
  HistoryCommand() {
    Report firefox{"org.mozilla.firefox", Cause::kQuit, {{time(0), time(1)}, {time(8), time(9)}}, false, {}};
    firefox.stores = {{"/home/ann/p", "cookies.sqlite", StoreGroup::kCookies, {Left::kNothing, 2, 40'000}},
                      {"/home/ann/p", "storage.sqlite", StoreGroup::kSiteStorage, {Left::kInUse}},
                      {"/home/ann/c", "", StoreGroup::kCaches, {Left::kNotAllowed}}};
    Report chromium{"org.chromium.Chromium", Cause::kLogOut, {{time(60), time(61)}}, false, {}};
    chromium.stores = {{"/home/ann/q", "Cache", StoreGroup::kCaches, {Left::kFailed, 1, 7, ENOSPC}}};
    domains.fileOfDomain(tidewell::kBundleIdentifier)
        ->write(tidewell::kHistoryKey, platform::Value::Array{valueOf(firefox), valueOf(chromium)});
  }

  static platform::Date time(int second) { return std::chrono::system_clock::from_time_t(1'700'000'000 + second); }

  std::string history(tidewell::Commands::Options options = {}, const std::vector<std::string>& browsers = {}) {
    std::ostringstream output;
    status = tidewell::Commands(domains, options, output, output).history(browsers);
    return output.str();
  }

  testing_support::ScratchFolder folder;
  testing_support::FakeLog log;
  platform::linux_::SqliteUserDefaults domains{folder.path("settings"), tidewell::kBundleIdentifier, log};
  int status = -1;
};

TEST_F(HistoryCommand, tellsWhatWentAndWhatWasLeftAndWhy) {
  const std::string text = history();
  EXPECT_EQ(status, 0);
  EXPECT_THAT(text, HasSubstr("Firefox: 2 items, 40.0 kB\n"));
  EXPECT_THAT(text, HasSubstr("storage.sqlite in /home/ann/p: in use\n"));
  EXPECT_THAT(text, HasSubstr("/home/ann/c: not allowed\n"));
  EXPECT_THAT(text, HasSubstr("Chromium: 1 item, 7 bytes, at the end of the session\n"));
  EXPECT_THAT(text, HasSubstr("Cache in /home/ann/q: could not be removed (error 28)\n"));
  EXPECT_THAT(text, Not(HasSubstr("cookies.sqlite")));
}

TEST_F(HistoryCommand, tellsOfEveryStoreWhenAskedTo) {
  EXPECT_THAT(history({.verbose = true}), HasSubstr("cookies.sqlite in /home/ann/p: 2 items, 40.0 kB, all gone\n"));
}

TEST_F(HistoryCommand, isOfTheNamedBrowsersOrOfTheLastCleaning) {
  EXPECT_THAT(history({}, {"firefox"}), Not(HasSubstr("Chromium")));
  EXPECT_THAT(history({.last = true}), Not(HasSubstr("Firefox")));
  EXPECT_THAT(history({}, {"opera"}), HasSubstr("No cleaning"));
  history({}, {"netsurfer"});
  EXPECT_EQ(status, 2);
}

TEST_F(HistoryCommand, hasAllOfItForPrograms) {
  const std::string text = history({.json = true});
  EXPECT_THAT(text, HasSubstr(R"("cause": "log-out")"));
  EXPECT_THAT(text, HasSubstr(R"("left": "not-allowed")"));
  EXPECT_THAT(text, HasSubstr(R"("begun": "2023-11-14T22:13:20Z")"));
}

TEST_F(HistoryCommand, canBeCleared) {
  history({.clear = true});
  EXPECT_EQ(status, 0);
  EXPECT_EQ(history(), "No cleaning is in the history.\n");
}

}  // namespace
