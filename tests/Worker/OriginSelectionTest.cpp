// Which origins are chosen for deletion, and which are kept.

#include "tests/support/WorkerTest.h"

namespace {

using testing_support::WorkerTest;
using Texts = std::vector<std::string>;

class Selection : public WorkerTest {
 protected:
  std::shared_ptr<tidewell::WorkerAppDelegate> worker = makeWorker();
};

TEST_F(Selection, ofAnEmptyListIsEmpty) {
  EXPECT_EQ(worker->databaseArray({}), Texts());
  EXPECT_EQ(worker->localStorageArray_browser({}, "Safari"), Texts());
  EXPECT_EQ(worker->mozillaLocalStorage({}), Texts());
}

TEST_F(Selection, ofDatabasesSparesBothKindsOfExtensions) {
  EXPECT_EQ(worker->databaseArray(
                {"http_example.com_0", "https_a.org_0", "chrome-extension_abc_0", "safari-extension_xyz_0", "file__0"}),
            (Texts{"http_example.com_0", "https_a.org_0", "file__0"}));
}

TEST_F(Selection, ofDatabasesComparesExactly) {
  const Texts kept = {
      "httpfoo",          "Chrome-extension_abc_0", "Safari-extension_abc_0",    "",    "chrome-extension",
      "safari-extension", " chrome-extension_a",    "http_a_chrome-extension_0", "\xff"};
  EXPECT_EQ(worker->databaseArray(kept), kept);
}

TEST_F(Selection, ofLocalStorageSparesTheBrowsersOwnExtensions) {
  const Texts names = {"http_a.com_0.localstorage", "http_a.com_0.localstorage-journal",
                       "chrome-extension_q_0.localstorage", "safari-extension_r_0.localstorage"};
  EXPECT_EQ(worker->localStorageArray_browser(names, "Safari"),
            (Texts{"http_a.com_0.localstorage", "chrome-extension_q_0.localstorage"}));
  for (const char* browser : {"Google Chrome", "Chromium", "Opera"}) {
    EXPECT_EQ(worker->localStorageArray_browser(names, browser),
              (Texts{"http_a.com_0.localstorage", "safari-extension_r_0.localstorage"}));
  }
  EXPECT_EQ(
      worker->localStorageArray_browser(names, "Firefox"),
      (Texts{"http_a.com_0.localstorage", "chrome-extension_q_0.localstorage", "safari-extension_r_0.localstorage"}));
}

TEST_F(Selection, ofLocalStorageKeepsNamesThatBeginWithHttpWithoutAnUnderscore) {
  EXPECT_EQ(worker->localStorageArray_browser({"httpx.localstorage", ".localstorage", "x.LOCALSTORAGE"}, "Opera"),
            (Texts{"httpx.localstorage", ".localstorage"}));
}

TEST_F(Selection, ofLocalStorageComparesExactly) {
  const Texts kept = {"chrome-extension.localstorage", "Chrome-extension_a.localstorage",
                      "a_chrome-extension_.localstorage"};
  Texts names = kept;
  for (const char* other : {"alocalstorage", "a.localstorage.", "a.localstorage2", "localstorage", ""}) {
    names.emplace_back(other);
  }
  EXPECT_EQ(worker->localStorageArray_browser(names, "Google Chrome"), kept);
  EXPECT_EQ(worker->localStorageArray_browser({"safari-extension.localstorage"}, "Safari"),
            Texts{"safari-extension.localstorage"});
}

TEST_F(Selection, ofFirefoxTakesScopesInTheFormOfASiteUnchanged) {
  const Texts kept = {"moc.elpmaxe.www.:http:80",
                      "moc.elpmaxe.:https:443",
                      "moc.elpmaxe.www//:elif.:x",
                      "x/moc.elpmaxe//:elif.:x",
                      ".:",
                      "a.:b.:c",
                      "zz%//:elif.:x",
                      "\xff.:http:80"};
  EXPECT_EQ(worker->mozillaLocalStorage(kept), kept);
  EXPECT_EQ(worker->mozillaLocalStorage({"moc.elpmaxe", "moc.elpmaxe:http:80", "", ". :"}), Texts());
}

TEST_F(Selection, keepsOrderAndDuplicates) {
  EXPECT_EQ(worker->mozillaLocalStorage({"b.:", "a.:", "b.:"}), (Texts{"b.:", "a.:", "b.:"}));
  EXPECT_EQ(worker->databaseArray({"b", "a", "b"}), (Texts{"b", "a", "b"}));
}

}  // namespace
