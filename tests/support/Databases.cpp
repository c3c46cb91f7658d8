#include "tests/support/Databases.h"

#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>

namespace testing_support {
namespace {

Journal* currentJournal = nullptr;

int traced(unsigned, void* connection, void* statement, void*) {
  const char* sql = sqlite3_sql(static_cast<sqlite3_stmt*>(statement));
  const char* file = sqlite3_db_filename(static_cast<sqlite3*>(connection), "main");
  if (currentJournal != nullptr && sql != nullptr) currentJournal->add(std::string("sql ") + sql + " on " + file);
  return 0;
}

int traceConnection(sqlite3* connection, const char**, const void*) {
  return sqlite3_trace_v2(connection, SQLITE_TRACE_STMT, traced, connection);
}

// sqlite3_auto_extension() takes entry points of this type.
const auto kEntryPoint = reinterpret_cast<void (*)()>(traceConnection);

int leaveUnflushed(sqlite3* connection, const char**, const void*) {
  return sqlite3_exec(connection, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr);
}

const auto kUnflushedEntryPoint = reinterpret_cast<void (*)()>(leaveUnflushed);

class Database {
 public:
  explicit Database(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    if (sqlite3_open(path.c_str(), &handle_) != SQLITE_OK) throw std::runtime_error("no database " + path);
  }
  ~Database() { sqlite3_close(handle_); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  sqlite3* handle() const { return handle_; }

 private:
  sqlite3* handle_ = nullptr;
};

}  // namespace

void runStatements(const std::string& path, const std::string& statements) {
  const Database database(path);
  char* error = nullptr;
  if (sqlite3_exec(database.handle(), statements.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
    throw std::runtime_error(error);
  }
}

std::vector<std::string> valuesOf(const std::string& path, const std::string& query) {
  const Database database(path);
  std::vector<std::string> values;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database.handle(), query.c_str(), -1, &statement, nullptr) != SQLITE_OK) return {"no table"};
  while (sqlite3_step(statement) == SQLITE_ROW) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    values.emplace_back(text != nullptr ? text : "NULL");
  }
  sqlite3_finalize(statement);
  return values;
}

StatementJournal::StatementJournal(Journal& journal) {
  currentJournal = &journal;
  sqlite3_auto_extension(kEntryPoint);
}

StatementJournal::~StatementJournal() {
  sqlite3_cancel_auto_extension(kEntryPoint);
  currentJournal = nullptr;
}

UnflushedDatabases::UnflushedDatabases() {
  sqlite3_auto_extension(kUnflushedEntryPoint);
}

UnflushedDatabases::~UnflushedDatabases() {
  sqlite3_cancel_auto_extension(kUnflushedEntryPoint);
}

}  // namespace testing_support
