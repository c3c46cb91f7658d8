#include "Worker/database/SqlPredicate.h"

#include <sqlite3.h>

#include <algorithm>
#include <exception>

namespace tidewell {
namespace {

void call(sqlite3_context* context, int count, sqlite3_value** values) {
  try {
    std::vector<std::string_view> arguments;
    for (int index = 0; index < count; ++index) {
      const auto* text = static_cast<const char*>(sqlite3_value_blob(values[index]));
      const auto size = static_cast<std::size_t>(sqlite3_value_bytes(values[index]));
      arguments.emplace_back(text != nullptr ? text : "", text != nullptr ? size : 0);
    }
    const auto& test = *static_cast<const SqlPredicate::Test*>(sqlite3_user_data(context));
    sqlite3_result_int(context, test(arguments) ? 1 : 0);
  } catch (const std::exception&) {
    sqlite3_result_error_nomem(context);
  }
}

}  // namespace

bool define(Sqlite& connection, const SqlPredicates& predicates) {
  return std::all_of(predicates.begin(), predicates.end(), [&connection](const SqlPredicate& predicate) {
    void* test = const_cast<SqlPredicate::Test*>(&predicate.test);  // call() takes it back as it was
    return sqlite3_create_function_v2(connection._db(), predicate.name.c_str(), -1, SQLITE_UTF8 | SQLITE_DIRECTONLY,
                                      test, call, nullptr, nullptr, nullptr) == SQLITE_OK;
  });
}

}  // namespace tidewell
