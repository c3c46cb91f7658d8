// A browser's database with any content: its rows are read, or there are none, and no other file is changed.

#include <cstdint>
#include <cstdlib>
#include <variant>

#include "Worker/Identity.h"
#include "Worker/sandbox/Sandbox.h"
#include "tests/support/TestPlatform.h"

namespace {

using tidewell::Row;
using tidewell::Sandbox;

constexpr char kPath[] = "~/Library/Safari/Databases/Databases.db";
constexpr const char* kQueries[] = {"SELECT origin FROM Databases;", "SELECT * FROM webappsstore2;"};
constexpr const char* kStatements[] = {"DELETE FROM Databases WHERE origin IN ('http_a.example_0','x');",
                                       "DELETE FROM Origins WHERE origin IN ('http_a.example_0');",
                                       "DELETE FROM webappsstore2 WHERE scope IN ('');",
                                       "DELETE FROM origin_bound_certs;"};

/// Reads every cell, by the accessors that the worker uses and by the others.
void readAll(const char* query) {
  const auto rows = Sandbox::returnArrayFromSql_onfile(query, kPath);
  if (!rows) std::abort();  // only an absent path may give no array
  for (const Row row : *rows) {
    if (row.columnNames() != rows->columnNames()) std::abort();
    for (const std::string& column : row.columnNames()) {
      const auto value = row.find(column);
      const auto text = row.stringForKey(column);
      if (!value) std::abort();
      const auto* string = std::get_if<std::string>(&*value);
      if (text.has_value() != (string != nullptr) || (text && *text != *string)) std::abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  testing_support::TestPlatform platform;
  platform.shared().insert_or_assign(tidewell::kUserFolderKey, platform.home.path());
  platform.grant(platform.home.path());
  platform.home.file("Library/Safari/Bookmarks.plist");
  platform.home.file("Library/Safari/Databases/Databases.db", std::string(reinterpret_cast<const char*>(bytes), size));

  for (const char* query : kQueries) readAll(query);
  for (const char* statement : kStatements) {
    Sandbox::runSql_onfile(statement, kPath);
    platform.dispatch.runUntilIdle();
  }
  for (const char* query : kQueries) readAll(query);
  if (platform.home.content("Library/Safari/Bookmarks.plist") != "content" || !platform.log.lines().empty()) {
    std::abort();
  }
  return 0;
}
