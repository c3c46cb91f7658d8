#include "Worker/database/Sqlite.h"

#include <sqlite3.h>

#include <array>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>
#include <thread>

#include "Worker/database/DefaultEncoding.h"
#include "Worker/database/SuperJournals.h"

namespace tidewell {
namespace {

constexpr std::chrono::microseconds kBusyPause{20};

/// The text of a C string in the default encoding; "" for null.
std::string textFromCString(const char* cString) {
  return cString ? textFromEncoding(cString, defaultCStringEncoding()) : std::string();
}

const char* columnText(sqlite3_stmt* statament, int column) {
  return reinterpret_cast<const char*>(sqlite3_column_text(statament, column));
}

platform::Data columnBytes(sqlite3_stmt* statament, int column) {
  const auto length = static_cast<std::size_t>(sqlite3_column_bytes(statament, column));
  const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(statament, column));
  return bytes ? platform::Data(bytes, bytes + length) : platform::Data();
}

double secondsSince1970(platform::Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count();
}

/// The bind calls, one for each kind. A null destructor is SQLITE_STATIC: the value stays where it is.
class Binder {
 public:
  Binder(sqlite3_stmt* statament, int column) : statament_(statament), column_(column) {}

  void operator()(const SqliteNull& /*null*/) const { sqlite3_bind_null(statament_, column_); }
  void operator()(const platform::Data& data) const {
    // Too long for SQLite. Like every value that SQLite can't take, it leaves the parameter unbound.
    if (data.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) return;
    // Empty data has no address, and SQLite would bind a null address as NULL.
    const void* bytes = data.empty() ? static_cast<const void*>("") : data.data();
    sqlite3_bind_blob(statament_, column_, bytes, static_cast<std::int32_t>(data.size()), nullptr);
  }
  void operator()(const platform::Date& date) const {
    sqlite3_bind_double(statament_, column_, secondsSince1970(date));
  }
  void operator()(const SqliteNumber& number) const {
    const std::string_view encoding = number.typeEncoding();
    if (encoding == "c") {
      sqlite3_bind_int(statament_, column_, number.boolValue() ? 1 : 0);
    } else if (encoding == "i" || encoding == "q") {
      sqlite3_bind_int64(statament_, column_, number.longValue());
    } else if (encoding == "f") {
      sqlite3_bind_double(statament_, column_, double{number.floatValue()});
    } else if (encoding == "d") {
      sqlite3_bind_double(statament_, column_, number.doubleValue());
    }
  }
  void operator()(const std::string& text) const { sqlite3_bind_text(statament_, column_, text.c_str(), -1, nullptr); }
  void operator()(const SqliteObject& object) const { (*this)(object.description); }

 private:
  sqlite3_stmt* statament_;
  int column_;
};

/// The value as it is handed to SQLite: strings in the default encoding, numbers of unusual types as their description.
SqliteValue bindable(SqliteValue value) {
  if (auto* text = std::get_if<std::string>(&value)) {
    text->resize(std::char_traits<char>::length(text->c_str()));  // a C string ends at the first zero
    *text = textInEncoding(*text, defaultCStringEncoding());
  } else if (const auto* number = std::get_if<SqliteNumber>(&value)) {
    if (std::string_view("ciqfd").find(number->typeEncoding()) == std::string_view::npos) {
      return SqliteObject{number->description()};
    }
  }
  return value;
}

}  // namespace

/// A prepared statement and what is bound to it. Releases both, also when too few arguments raise an exception.
class Sqlite::BoundStatament {
 public:
  BoundStatament(Sqlite& sqlite, sqlite3_stmt* statament)
      : bound_(sqlite.bound_), boundBefore_(sqlite.bound_.size()), statament_(statament, sqlite3_finalize) {}
  ~BoundStatament() {
    statament_.reset();
    bound_.resize(boundBefore_);
  }
  BoundStatament(const BoundStatament&) = delete;
  BoundStatament& operator=(const BoundStatament&) = delete;

 private:
  std::deque<SqliteValue>& bound_;
  const std::size_t boundBefore_;
  std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statament_;
};

Sqlite::Sqlite() : busyRetryTimeout_(1) {}

Sqlite::Sqlite(const std::string& path) {
  open(path);
}

Sqlite::~Sqlite() {
  close();
}

template <typename Call>
int Sqlite::untilNotBusy(const Call& call) {
  for (std::int64_t retries = 0;; ++retries) {
    const int result = call();
    if (result != SQLITE_BUSY) return result;
    if (pause_) {
      pause_(kBusyPause);
    } else {
      std::this_thread::sleep_for(kBusyPause);
    }
    // Deliberately this way round: a bound of 0 or more allows no retry, a negative one allows them without end.
    if (retries <= busyRetryTimeout_) return result;
  }
}

bool Sqlite::open(const std::string& path) {
  const std::string opened = path;  // it may be our own filePath(), which close() resets
  close();
  refuseSuperJournals();
  if (sqlite3_open(opened.c_str(), &_db_) != SQLITE_OK) return false;
  filePath_ = opened;
  return true;
}

void Sqlite::close() {
  if (!_db_) return;
  untilNotBusy([this] { return sqlite3_close(_db_); });
  filePath_.reset();
  _db_ = nullptr;
}

std::int32_t Sqlite::errorCode() const {
  return sqlite3_errcode(_db_);
}

std::string Sqlite::errorMessage() const {
  return textFromCString(sqlite3_errmsg(_db_));
}

std::optional<Rows> Sqlite::executeQuery_arguments(const std::string& sql, const Arguments& arguments) {
  sqlite3_stmt* statament = nullptr;
  if (!prepareSql_inStatament(sql, statament)) return std::nullopt;
  const BoundStatament bound(*this, statament);
  bind(arguments, statament);
  Rows rows;
  const int count = sqlite3_column_count(statament);
  std::vector<std::optional<SqliteValue>> cells(static_cast<std::size_t>(count));
  while (hasData(statament)) {
    if (rows.empty()) {
      // Not earlier: the first step recompiles the statement when the tables have changed.
      std::vector<std::string> names(cells.size());
      for (int column = 0; column < count; ++column) {
        names[static_cast<std::size_t>(column)] = columnName_columnIndex(statament, column);
      }
      rows = Rows(names);
    }
    for (int column = 0; column < count; ++column) {
      cells[static_cast<std::size_t>(column)] = columnData_columnIndex(statament, column);
    }
    rows.append(cells);
  }
  return rows;
}

bool Sqlite::executeNonQuery_arguments(const std::string& sql, const Arguments& arguments) {
  sqlite3_stmt* statament = nullptr;
  if (!prepareSql_inStatament(sql, statament)) return false;
  const BoundStatament bound(*this, statament);
  bind(arguments, statament);
  return executeStatament(statament);
}

bool Sqlite::commit() {
  return executeNonQuery("COMMIT TRANSACTION;");
}

bool Sqlite::rollback() {
  return executeNonQuery("ROLLBACK TRANSACTION;");
}

bool Sqlite::beginTransaction() {
  return executeNonQuery("BEGIN EXCLUSIVE TRANSACTION;");
}

bool Sqlite::beginDeferredTransaction() {
  return executeNonQuery("BEGIN DEFERRED TRANSACTION;");
}

bool Sqlite::prepareSql_inStatament(const std::string& sql, sqlite3_stmt*& statament) {
  return untilNotBusy([&] { return sqlite3_prepare_v2(_db_, sql.c_str(), -1, &statament, nullptr); }) == SQLITE_OK;
}

bool Sqlite::executeStatament(sqlite3_stmt* statament) {
  const int result = untilNotBusy([statament] { return sqlite3_step(statament); });
  return result == SQLITE_DONE || result == SQLITE_OK;
}

bool Sqlite::hasData(sqlite3_stmt* statament) {
  return untilNotBusy([statament] { return sqlite3_step(statament); }) == SQLITE_ROW;
}

void Sqlite::bind(const Arguments& arguments, sqlite3_stmt* statament) {
  const int count = sqlite3_bind_parameter_count(statament);
  for (int index = 1; index <= count; ++index) {
    bindObject_toColumn_inStatament(arguments.at(static_cast<std::size_t>(index - 1)), index, statament);
  }
}

void Sqlite::bindObject_toColumn_inStatament(std::optional<SqliteValue> object, std::int32_t column,
                                             sqlite3_stmt* statament) {
  bound_.push_back(object ? bindable(*std::move(object)) : SqliteNull());
  std::visit(Binder(statament, column), bound_.back());
}

std::optional<SqliteValue> Sqlite::columnData_columnIndex(sqlite3_stmt* statament, std::int32_t columnIndex) const {
  switch (sqlite3_column_type(statament, columnIndex)) {
    case SQLITE_INTEGER: {
      const char* digits = columnText(statament, columnIndex);  // UTF-8, whatever the default encoding is
      return std::string(digits ? digits : "");
    }
    case SQLITE_FLOAT:
      return SqliteNumber(sqlite3_column_double(statament, columnIndex));
    case SQLITE_TEXT:
      return textFromCString(columnText(statament, columnIndex));
    case SQLITE_BLOB:
      return columnBytes(statament, columnIndex);
    case SQLITE_NULL:
      return SqliteNull();
    default:
      return std::nullopt;
  }
}

std::string Sqlite::columnName_columnIndex(sqlite3_stmt* statament, std::int32_t columnIndex) const {
  const char* name = sqlite3_column_name(statament, columnIndex);
  return name ? name : "";
}

std::string Sqlite::version() {
  return textFromCString(sqlite3_libversion());
}

std::string Sqlite::createUuid() {
  std::random_device random;
  std::array<std::uint32_t, 4> words;
  for (std::uint32_t& word : words) word = static_cast<std::uint32_t>(random());
  words[1] = (words[1] & 0xFFFF0FFFU) | 0x00004000U;  // version 4: random
  words[2] = (words[2] & 0x3FFFFFFFU) | 0x80000000U;  // the variant that has versions
  std::array<char, 37> text;
  std::snprintf(text.data(), text.size(), "%08X-%04X-%04X-%04X-%04X%08X", words[0], words[1] >> 16, words[1] & 0xFFFFU,
                words[2] >> 16, words[2] & 0xFFFFU, words[3]);
  return text.data();
}

}  // namespace tidewell
