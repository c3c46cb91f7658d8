// A list of kept sites that can't be read: nothing goes that may be a kept site's.

#include "Worker/Identity.h"
#include "tests/support/LinuxHomeTest.h"

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing_support::HomeContents;
using testing_support::LinuxHomeTest;
using Value = platform::Value;

class AnUnknownList : public LinuxHomeTest {
 protected:
  /// Cleans the sample home; what then is missing or different, but for caches and the like.
  std::vector<std::string> cleaned(const std::string& browser) {
    if (!before) {
      testing_support::fillLinuxSampleHome(platform.home);
      before.emplace(platform.home);
    }
    grantSampleHome(browser);
    quit(browser);
    return HomeContents(platform.home).differencesFrom(*before);
  }

  std::optional<HomeContents> before;

  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(AnUnknownList, ofAnyKindLeavesCookiesAndStorage) {
  for (const Value& list : {Value("a.test"), Value(Value::Array{"com"}), Value(Value::Array{3})}) {
    platform.shared().insert_or_assign(tidewell::kKeptSitesKey, list);
    for (const char* browser : {"Chromium", "Firefox"}) {
      for (const std::string& difference : cleaned(browser)) {
        for (const char* store : {"ookies", "IndexedDB", "Local Storage", "File System", "WebStorage", "CacheStorage",
                                  "Preferences", "/storage/default", "/storage/temporary", "storage.sqlite",
                                  "sessionstore", "permissions", "content-prefs", "webappsstore", "DIPS"}) {
          if (difference.find("Safe Browsing") != std::string::npos) continue;
          if (difference.find(".bak") != std::string::npos) continue;
          EXPECT_EQ(difference.find(store), std::string::npos) << difference;
        }
      }
    }
  }
}

TEST_F(AnUnknownList, thatCouldNotBeReadIsReported) {
  platform.userDefaults.unreadable.insert(tidewell::kKeptSitesKey);
  EXPECT_FALSE(cleaned("Firefox").empty()) << "caches go";
  EXPECT_THAT(platform.log.lines(), Contains(HasSubstr("the list of kept sites can't be read")));
}

TEST_F(AnUnknownList, isReportedForStoresThatAreThereOnly) {
  platform.userDefaults.unreadable.insert(tidewell::kKeptSitesKey);
  platform.home.file(".mozilla/firefox/ann/times.json", "{}");
  platform.grant(home(".mozilla/firefox"));
  quit("Firefox");
  EXPECT_THAT(platform.log.lines(), IsEmpty());
}

}  // namespace
