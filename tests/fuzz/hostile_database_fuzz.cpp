// A browser's database with any content, or with any schema: it is cleaned or left, no other file is changed, and what
// was cleaned once stays as it is.
//
// An input that does not begin as a database does is SQL, whose statements make one.

#include <sqlite3.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "Worker/Identity.h"
#include "Worker/stores/Treatments.h"
#include "tests/support/TestPlatform.h"

namespace {

using tidewell::Left;
using tidewell::Outcome;
namespace treatments = tidewell::treatments;

constexpr std::string_view kDatabase = "SQLite format 3";

/// The ways to clean a database, each on a copy of its own: its path, and that of the database.
struct Case {
  Outcome (*treatment)(const std::string& path);
  const char* path;
  const char* database;
};
constexpr Case kCases[] = {
    {treatments::deleteChannelIDs, "Origin Bound Certs", "Origin Bound Certs"},
    {treatments::cleanWebDatabases, "databases", "databases/Databases.db"},
    {treatments::cleanWebStorage, "WebStorage", "WebStorage/QuotaManager"},
    {treatments::cleanStorageIndex, "storage.sqlite", "storage.sqlite"},
    {treatments::deleteScopes, "webappsstore.sqlite", "webappsstore.sqlite"},
    {[](const std::string& path) { return treatments::cleanContentPreferences(path, {}); }, "content-prefs.sqlite",
     "content-prefs.sqlite"},
    {[](const std::string& path) { return treatments::cleanPermissions(path, {.cookieRules = true}); },
     "permissions.sqlite", "permissions.sqlite"},
    {treatments::deletePushSubscriptions, "2918063365piupsah.sqlite", "2918063365piupsah.sqlite"},
    {treatments::cleanPredictions, "Network Action Predictor", "Network Action Predictor"},
};

void require(bool holds) {
  if (!holds) std::abort();
}

/// Lets an input reach no other file, and change no setting of the connection that bounds it.
int permission(void*, int action, const char* name, const char*, const char*, const char*) {
  if (action == SQLITE_PRAGMA) return std::string_view(name) == "writable_schema" ? SQLITE_OK : SQLITE_DENY;
  return action == SQLITE_ATTACH ? SQLITE_DENY : SQLITE_OK;
}

int isLong(void* looksLeft) {
  return --*static_cast<int*>(looksLeft) < 0 ? 1 : 0;
}

/// Runs all statements that can be run, each up to an end of its own.
void makeDatabase(const std::string& path, const std::string& sql) {
  sqlite3* opened = nullptr;
  require(sqlite3_open(path.c_str(), &opened) == SQLITE_OK);
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> database(opened, sqlite3_close);
  require(sqlite3_exec(opened, "PRAGMA max_page_count = 256; PRAGMA synchronous = OFF;", nullptr, nullptr, nullptr) ==
          SQLITE_OK);
  sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, 1 << 20);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_set_authorizer(opened, permission, nullptr);
  const char* rest = sql.c_str();
  while (*rest != '\0') {
    int looksLeft = 100;
    sqlite3_progress_handler(opened, 1000, isLong, &looksLeft);
    sqlite3_stmt* statement = nullptr;
    const char* begin = rest;
    sqlite3_prepare_v2(opened, begin, -1, &statement, &rest);
    while (statement != nullptr && sqlite3_step(statement) == SQLITE_ROW) continue;
    sqlite3_finalize(statement);
    if (rest == begin) return;
  }
}

std::string contentsFor(const testing_support::ScratchFolder& folder, const std::string& input) {
  if (input.starts_with(kDatabase)) return input;
  makeDatabase(folder.path("made"), input);
  return folder.content("made");
}

void clean(const Case& store, const std::string& contents) {
  testing_support::TestPlatform platform;
  platform.shared().insert_or_assign(tidewell::kUserFolderKey, platform.home.path());
  platform.grant(platform.home.path());
  platform.home.file("neighbour");
  platform.home.file(store.database, contents);
  const Outcome outcome = store.treatment(platform.home.path(store.path));
  require(platform.home.content("neighbour") == "content");
  if (outcome.left != Left::kNothing) return;
  const std::string cleaned = platform.home.exists(store.database) ? platform.home.content(store.database) : "";
  require(store.treatment(platform.home.path(store.path)).left == Left::kNothing);
  if (!cleaned.empty()) require(platform.home.content(store.database) == cleaned);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const testing_support::ScratchFolder folder;
  const std::string contents = contentsFor(folder, {reinterpret_cast<const char*>(bytes), size});
  for (const Case& store : kCases) clean(store, contents);
  return 0;
}
