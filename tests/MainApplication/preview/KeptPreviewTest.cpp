// The preview shows what stays because its site is kept.

#include "MainApplication/preview/Preview.h"
#include "tests/support/KeptSitesTest.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing_support::runStatements;
using tidewell::Preview;

class KeptPreview : public testing_support::KeptSitesTest {
 protected:
  KeptPreview() {
    runStatements(home(chrome("Cookies")),
                  "CREATE TABLE meta (key TEXT); INSERT INTO meta VALUES ('version');"
                  "CREATE TABLE cookies (host_key TEXT);"
                  "INSERT INTO cookies VALUES ('kept.test'), ('www.kept.test'), ('o.test');");
    platform.home.file(chrome("IndexedDB/https_kept.test_0.indexeddb.leveldb/CURRENT"), "12345");
    platform.home.file(chrome("IndexedDB/https_other.test_0.indexeddb.leveldb/CURRENT"), "other");
    platform.home.folder(chrome("Local Storage"));
    testing_support::putInLevelDatabase(home(chrome("Local Storage/leveldb")),
                                        {{"META:https://kept.test", "1"}, {"META:https://other.test", "2"}});
  }

  Preview preview() { return Preview::of(browser("Chromium"), platform.userDefaults); }
};

TEST_F(KeptPreview, listsFilesAndRowsThatStay) {
  const Preview preview = this->preview();
  ASSERT_EQ(preview.kept.items.size(), 1U);
  EXPECT_EQ(preview.kept.items[0].path, home(chrome("IndexedDB/https_kept.test_0.indexeddb.leveldb")));
  EXPECT_EQ(preview.kept.items[0].bytes, 5U);
  ASSERT_EQ(preview.kept.rows.size(), 1U);
  EXPECT_EQ(preview.kept.rows[0].database, home(chrome("Cookies")));
  EXPECT_EQ(preview.kept.rows[0].table, "cookies");
  EXPECT_EQ(preview.kept.rows[0].rows, 2U);
  ASSERT_EQ(preview.rows.size(), 1U);
  EXPECT_EQ(preview.rows[0].rows, 1U);
  ASSERT_EQ(preview.items.size(), 1U);
  EXPECT_EQ(preview.items[0].path, home(chrome("IndexedDB/https_other.test_0.indexeddb.leveldb")));
}

TEST_F(KeptPreview, isLikeThatWithoutAListWhereNothingIsKept) {
  keep({});
  const Preview preview = this->preview();
  EXPECT_TRUE(preview.kept.items.empty() && preview.kept.rows.empty() && preview.kept.rewritings.empty());
  EXPECT_EQ(preview.items.size(), 4U);
}

TEST_F(KeptPreview, saysThatTheListCanNotBeRead) {
  platform.userDefaults.unreadable.insert(tidewell::kKeptSitesKey);
  const Preview preview = this->preview();
  EXPECT_TRUE(preview.kept.listIsUnknown);
  EXPECT_TRUE(preview.items.empty() && preview.rows.empty() && preview.rewritings.empty());
  EXPECT_EQ(preview.kept.items.size(), 4U);
}

}  // namespace
