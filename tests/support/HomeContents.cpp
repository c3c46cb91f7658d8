#include "tests/support/HomeContents.h"

#include <sqlite3.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "tests/support/BrowserFiles.h"

namespace fs = std::filesystem;

namespace testing_support {
namespace {

constexpr std::string_view kSqliteHeader = "SQLite format 3";
constexpr std::array<std::string_view, 3> kCompanions = {"-wal", "-shm", "-journal"};

std::string bytesOf(const fs::path& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

bool isSqlite(const fs::path& path) {
  std::string header(kSqliteHeader.size(), '\0');
  std::ifstream(path, std::ios::binary).read(header.data(), static_cast<std::streamsize>(header.size()));
  return header == kSqliteHeader;
}

bool isCompanion(const std::string& path) {
  for (const std::string_view companion : kCompanions) {
    if (path.ends_with(companion) && isSqlite(path.substr(0, path.size() - companion.size()))) return true;
  }
  return false;
}

bool isInLevelDatabase(const fs::path& path) {
  return fs::exists(path.parent_path() / "CURRENT");
}

class Looked {
 public:
  explicit Looked(const std::string& path) {
    sqlite3_open(path.c_str(), &handle_);  // where that fails there are no values
  }
  ~Looked() { sqlite3_close(handle_); }
  Looked(const Looked&) = delete;
  Looked& operator=(const Looked&) = delete;

  /// The first column of every row, as text.
  std::vector<std::string> values(const std::string& query) const {
    std::vector<std::string> values;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, query.c_str(), -1, &statement, nullptr) != SQLITE_OK) return values;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
      values.emplace_back(text != nullptr ? text : "NULL");
    }
    sqlite3_finalize(statement);
    return values;
  }

 private:
  sqlite3* handle_ = nullptr;
};

/// Every row of every table, with its values as SQL literals, sorted.
std::string rowsIn(const std::string& original, const std::string& path) {
  constexpr auto kOver = fs::copy_options::overwrite_existing;
  fs::copy_file(original, path, kOver);
  for (const std::string_view companion : kCompanions) {
    const std::string beside = path + std::string(companion);
    fs::remove(beside);
    std::error_code ignored;  // the file may be missing
    fs::copy_file(original + std::string(companion), beside, ignored);
  }
  const Looked database(path);
  std::string rows;
  for (const std::string& table :
       database.values("SELECT name FROM sqlite_schema WHERE type = 'table' ORDER BY name")) {
    const std::string columns =
        database
            .values("SELECT group_concat('quote(' || name || ')', ' || '', '' || ') FROM pragma_table_info('" + table +
                    "')")
            .front();
    for (const std::string& row : database.values("SELECT " + columns + " FROM " + table + " ORDER BY 1")) {
      rows += table + ": " + row + "\n";
    }
  }
  return rows;
}

std::string rowsOf(const std::string& original, const std::string& scratch) {
  static std::map<std::string, std::string> known;  // tests read the same databases many times
  std::string bytes = bytesOf(original);
  for (const std::string_view companion : {"-wal", "-journal"}) bytes += bytesOf(original + std::string(companion));
  auto found = known.find(bytes);
  if (found == known.end()) found = known.emplace(std::move(bytes), rowsIn(original, scratch)).first;
  return found->second;
}

std::string entriesOf(const std::string& folder) {
  const auto entries = levelEntriesOf(folder);
  if (!entries) return "not a database";
  std::string text;
  for (const auto& [key, value] : *entries) text += key + " = " + value + "\n";
  return text;
}

std::vector<std::string> missingIn(const std::map<std::string, std::string>& all,
                                   const std::map<std::string, std::string>& some) {
  std::vector<std::string> missing;
  for (const auto& [path, content] : all) {
    if (!some.contains(path)) missing.push_back(path);
  }
  return missing;
}

}  // namespace

HomeContents::HomeContents(const ScratchFolder& home) {
  const ScratchFolder scratch;
  for (const auto& entry : fs::recursive_directory_iterator(home.path())) {
    const std::string path = entry.path().string();
    const std::string name = path.substr(home.path().size() + 1);
    if (entry.is_symlink()) {
      meanings[name] = files[name] = "link to " + fs::read_symlink(entry.path()).string();
    } else if (entry.is_directory()) {
      folders.insert(name);
      if (fs::exists(entry.path() / "CURRENT")) meanings[name + "/"] = entriesOf(path);
    } else {
      const std::string bytes = bytesOf(entry.path());
      files[name] = std::to_string(static_cast<unsigned>(entry.status().permissions())) + " " + bytes;
      if (isInLevelDatabase(entry.path()) || isCompanion(path)) continue;
      const std::string session = unpackedSession(bytes);
      meanings[name] = isSqlite(path) ? rowsOf(path, scratch.path("copy")) : session.empty() ? bytes : session;
    }
  }
}

std::vector<std::string> HomeContents::changedSince(const HomeContents& before) const {
  std::vector<std::string> changed;
  for (const auto& [path, content] : before.files) {
    const auto found = files.find(path);
    if (found != files.end() && found->second != content) changed.push_back(path);
  }
  return changed;
}

std::vector<std::string> HomeContents::goneSince(const HomeContents& before) const {
  return missingIn(before.files, files);
}

std::vector<std::string> HomeContents::differencesFrom(const HomeContents& expected) const {
  std::vector<std::string> differences;
  for (const auto& [path, meaning] : expected.meanings) {
    const auto found = meanings.find(path);
    if (found == meanings.end()) {
      differences.push_back("missing " + path);
    } else if (found->second != meaning) {
      differences.push_back("other " + path + ": " + found->second + " and not " + meaning);
    }
  }
  for (const std::string& path : missingIn(meanings, expected.meanings)) differences.push_back("extra " + path);
  for (const std::string& folder : expected.folders) {
    if (!folders.contains(folder)) differences.push_back("missing folder " + folder);
  }
  return differences;
}

std::vector<std::string> HomeContents::mentioning(const std::string& text) const {
  std::vector<std::string> paths;
  for (const auto& [path, content] : files) {
    if (path.find(text) != std::string::npos || content.find(text) != std::string::npos) paths.push_back(path);
  }
  for (const std::string& folder : folders) {
    if (folder.substr(folder.rfind('/') + 1).find(text) != std::string::npos) paths.push_back(folder);
  }
  return paths;
}

}  // namespace testing_support
