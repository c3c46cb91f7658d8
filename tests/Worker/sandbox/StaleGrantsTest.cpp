// Grants that resolve to another folder than that of their key, that can't be refreshed, or that can't be opened. The
// results of the system are scripted, whatever is on the disk.

#include <map>
#include <set>

#include "Worker/sandbox/AppSandboxFileAccess.h"
#include "tests/support/WorkerTest.h"

namespace {

using platform::Data;
using platform::dataFromBytes;
using platform::FileURL;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;
using testing_support::WorkerTest;
using tidewell::AppSandboxFileAccess;

/// Returns what the test has set. Journal: "start PATH", "stop PATH".
class ScriptedScopes : public platform::SecurityScopedResources {
 public:
  explicit ScriptedScopes(testing_support::Journal& journal) : journal_(journal) {}

  std::map<std::string, platform::ResolvedBookmark> resolutions;  // by the data's bytes
  std::set<std::string> recordable;                               // paths whose data is "new PATH"
  bool canStart = true;

  std::optional<Data> bookmarkData(const FileURL& url) override {
    return recordable.contains(url.path()) ? std::optional(dataFromBytes("new " + url.path())) : std::nullopt;
  }
  platform::ResolvedBookmark resolveBookmarkData(const Data& data) override {
    return resolutions[std::string(platform::bytesOf(data))];
  }
  bool startAccessing(const FileURL& url) override {
    journal_.add("start " + url.path());
    return canStart;
  }
  void stopAccessing(const FileURL& url) override { journal_.add("stop " + url.path()); }

 private:
  testing_support::Journal& journal_;
};

class StaleGrants : public WorkerTest {
 protected:
  StaleGrants() { platform::Platform::install(&withScopes_); }

  void store(const std::string& bytes, const std::string& folder) {
    platform.own().insert_or_assign("bd_file://" + folder + "/", dataFromBytes(bytes));
  }
  /// The stored grants: the key without its prefix, and the data's bytes.
  std::map<std::string, std::string> stored() {
    std::map<std::string, std::string> grants;
    for (const auto& [key, value] : platform.own()) {
      grants[key.substr(std::string("bd_file://").size())] = platform::bytesOf(*value.as<Data>());
    }
    return grants;
  }
  /// Asks for the folder; returns whether it was allowed.
  bool request(const std::string& folder, bool persist) {
    return AppSandboxFileAccess::fileAccess()->requestAccessPermissionsForFileURL_persistPermission_withBlock(
        FileURL(folder, true), persist, [this](const FileURL& url, const std::optional<Data>& data) {
          allowed = url.path();
          kept = data ? std::string(platform::bytesOf(*data)) : "nothing";
        });
  }
  std::vector<std::string> panels() const { return platform.journal.entriesAfter("panel "); }

  ScriptedScopes scopes{platform.journal};
  std::string allowed;
  std::string kept;

 private:
  platform::Platform& p_ = platform::Platform::current();
  platform::Platform withScopes_{
      p_.mainBundle, p_.dispatch,   p_.fileManager,  p_.fileManagerOnOneMount,  p_.log,         p_.openPanel,
      scopes,        p_.system,     p_.userDefaults, p_.userNotificationCenter, p_.userScripts, p_.workspace,
      p_.cells,      p_.confinement};
};

TEST_F(StaleGrants, areKeptAnewUnderTheKeyOfWhereTheyLeadAndTheTargetsOwnKeyGoes) {
  store("old", "/Users/ann/Safari");
  scopes.resolutions["old"] = {FileURL("/Users/ann/Moved", true), /*isStale=*/true};
  scopes.recordable = {"/Users/ann/Safari", "/Users/ann/Moved"};
  EXPECT_TRUE(request("/Users/ann/Safari", /*persist=*/false));
  EXPECT_THAT(stored(), ElementsAre(Pair("/Users/ann/Moved/", "new /Users/ann/Moved")));
  EXPECT_EQ(allowed, "/Users/ann/Moved");
  EXPECT_EQ(kept, "new /Users/ann/Moved");
  EXPECT_THAT(panels(), IsEmpty());
}

TEST_F(StaleGrants, ofAFolderAboveStayWhereTheyAre) {
  store("old", "/Users/ann");
  store("far", "/Users");
  scopes.resolutions["old"] = {FileURL("/Users/moved", true), /*isStale=*/true};
  scopes.recordable = {"/Users/moved"};
  EXPECT_TRUE(request("/Users/ann/Library/Safari", /*persist=*/true));
  EXPECT_THAT(stored(), UnorderedElementsAre(Pair("/Users/", "far"), Pair("/Users/ann/", "old"),
                                             Pair("/Users/moved/", "new /Users/moved")));
  EXPECT_EQ(allowed, "/Users/moved");
}

TEST_F(StaleGrants, thatCanNotBeRefreshedAreAskedForAndTheChoiceIsKept) {
  store("old", "/Users/ann/Safari");
  scopes.resolutions["old"] = {FileURL("/Users/ann/Moved", true), /*isStale=*/true};
  scopes.recordable = {"/Users/ann"};
  platform.openPanel.willChoose("/Users/ann");
  EXPECT_TRUE(request("/Users/ann/Safari", /*persist=*/true));
  EXPECT_THAT(panels(), ElementsAre("/Users/ann/Safari"));
  EXPECT_THAT(stored(), ElementsAre(Pair("/Users/ann/", "new /Users/ann")));
  EXPECT_EQ(allowed, "/Users/ann");
  EXPECT_EQ(kept, "new /Users/ann");
}

TEST_F(StaleGrants, thatCanNotBeRefreshedAreGoneThoughThePersonCancels) {
  store("old", "/Users/ann/Safari");
  scopes.resolutions["old"] = {FileURL("/Users/ann/Safari", true), /*isStale=*/true};
  EXPECT_FALSE(request("/Users/ann/Safari", /*persist=*/true));
  EXPECT_THAT(panels(), ElementsAre("/Users/ann/Safari"));
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_EQ(allowed, "");
}

TEST_F(StaleGrants, thatLeadNowhereAreAskedForAndTheChoiceIsNotKeptUnlessItIsToBe) {
  store("old", "/Users/ann/Safari");
  scopes.resolutions["old"] = {std::nullopt, /*isStale=*/true};
  scopes.recordable = {"/Users/ann"};
  platform.openPanel.willChoose("/Users/ann");
  EXPECT_TRUE(request("/Users/ann/Safari", /*persist=*/false));
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_EQ(kept, "nothing");
}

TEST_F(StaleGrants, areNotThoseThatOnlyLeadNowhereWhoseDataStaysInTheWay) {
  store("old", "/Users/ann");
  scopes.recordable = {"/Users"};
  platform.openPanel.willChoose("/Users");
  EXPECT_TRUE(request("/Users/ann/Safari", /*persist=*/true));
  EXPECT_THAT(stored(), ElementsAre(Pair("/Users/ann/", "old")));
  EXPECT_EQ(allowed, "/Users");
  EXPECT_EQ(kept, "old");
}

TEST_F(StaleGrants, areNotThoseThatLeadElsewhereAndAreUsedAsTheyAre) {
  store("good", "/Users/ann");
  scopes.resolutions["good"] = {FileURL("/Volumes/ann", true), /*isStale=*/false};
  scopes.recordable = {"/Volumes/ann", "/Users/ann"};
  EXPECT_TRUE(request("/Users/ann/Safari", /*persist=*/true));
  EXPECT_THAT(stored(), ElementsAre(Pair("/Users/ann/", "good")));
  EXPECT_EQ(allowed, "/Volumes/ann");
  EXPECT_EQ(kept, "good");
}

TEST_F(StaleGrants, orGoodOnesAreOpenedAroundTheActionAndClosedAfterIt) {
  store("good", "/Users/ann");
  scopes.resolutions["good"] = {FileURL("/Volumes/ann", true), /*isStale=*/false};
  const auto access = AppSandboxFileAccess::fileAccess();
  EXPECT_TRUE(access->accessFilePath_persistPermission_withBlock(
      "/Users/ann/Safari", true, [this] { platform.journal.add("start of the action"); }));
  std::vector<std::string> order;
  for (const std::string& entry : platform.journal.entries()) {
    if (entry.starts_with("sta") || entry.starts_with("sto")) order.push_back(entry);
  }
  EXPECT_THAT(order, ElementsAre("start /Volumes/ann", "start of the action", "stop /Volumes/ann"));
}

TEST_F(StaleGrants, thatCanNotBeOpenedDoNotKeepTheActionFromRunning) {
  store("good", "/Users/ann");
  scopes.resolutions["good"] = {FileURL("/Users/ann", true), /*isStale=*/false};
  scopes.canStart = false;
  bool ran = false;
  const auto access = AppSandboxFileAccess::fileAccess();
  EXPECT_TRUE(access->accessFilePath_persistPermission_withBlock("/Users/ann/Safari", true, [&ran] { ran = true; }));
  EXPECT_TRUE(ran);
  EXPECT_THAT(platform.journal.entriesAfter("stop "), ElementsAre("/Users/ann"));
}

}  // namespace
