#include "Worker/stores/SparedRows.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/stores/Treatments.h"

namespace tidewell::treatments {
namespace {

using Columns = std::map<std::string, std::set<std::string, std::less<>>, std::less<>>;

constexpr std::array<std::string_view, 2> kOwnAffairs{"meta", "config"};

std::string quoted(std::string_view name) {
  std::string result = "\"";
  for (const char c : name) result += c == '"' ? std::string("\"\"") : std::string(1, c);
  return result + '"';
}

/// The columns of each table. Absent when they can't be read: `left` says so.
std::optional<Columns> columnsIn(const std::string& path, Left& left) {
  const auto rows = GrantedFiles::rowsOf(
      "SELECT tables.name AS tableName, columns.name AS columnName"
      " FROM sqlite_master AS tables, pragma_table_info(tables.name) AS columns WHERE tables.type = 'table';",
      path, left);
  if (!rows) return std::nullopt;
  Columns columns;
  for (const Row row : *rows) {
    columns[std::string(row.stringForKey("tableName").value_or(""))].emplace(
        row.stringForKey("columnName").value_or(""));
  }
  return columns;
}

std::string deletion(const SparedRows& rows, const Columns::mapped_type& columns, const std::string& predicate) {
  std::string arguments;
  for (const std::string_view column : rows.columns) {
    arguments += (arguments.empty() ? "" : ", ") + (columns.contains(column) ? quoted(column) : std::string("''"));
  }
  return "DELETE FROM " + quoted(rows.table) + " WHERE NOT " + predicate + "(" + arguments + ");";
}

/// The same test. Rows of a site follow one another, so the last answer is remembered.
SqlPredicate::Test remembering(const SqlPredicate::Test& test) {
  return [&test, last = std::vector<std::string>(), answer = false](std::span<const std::string_view> values) mutable {
    if (last.empty() || !std::equal(values.begin(), values.end(), last.begin(), last.end())) {
      answer = test(values);
      last.assign(values.begin(), values.end());
    }
    return answer;
  };
}

}  // namespace

Outcome keepOnlyRows(const std::string& path, const std::vector<SparedRows>& tables) {
  if (!GrantedFiles::isThere(path)) return removeDatabase(path);  // what is beside it
  Left left = Left::kNothing;
  const auto columns = columnsIn(path, left);
  if (!columns) return {left};
  if (columns->empty()) return removeDatabase(path);
  std::vector<std::string> statements;
  SqlPredicates predicates;
  bool isKnown = false;
  for (const auto& [table, names] : *columns) {
    const auto isIt = [&name = table](const auto& other) { return other.table == name; };
    const auto rows = std::find_if(tables.begin(), tables.end(), isIt);
    if (rows != tables.end()) {
      if (!names.contains(rows->columns.front())) return {Left::kNotReadable};
      isKnown = true;
      predicates.push_back({"is_kept_" + std::to_string(predicates.size()), remembering(rows->isKept)});
      // First of all: a statement that fails ends the others.
      statements.insert(statements.begin(), deletion(*rows, names, predicates.back().name));
    } else if (std::find(kOwnAffairs.begin(), kOwnAffairs.end(), table) == kOwnAffairs.end() &&
               !table.starts_with("sqlite_")) {
      statements.push_back("DELETE FROM " + quoted(table) + ";");
    }
  }
  return isKnown ? GrantedFiles::changeDatabase(statements, path, predicates) : Outcome{Left::kNotReadable};
}

}  // namespace tidewell::treatments
