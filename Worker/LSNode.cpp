// Removes what sites keep in a browser: web databases, local storage and IndexedDB, with the index databases brought in
// line. The storage of extensions is spared.

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/Home.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::appendingPathComponent;
using Texts = std::vector<std::string>;

constexpr char kSelectOrigins[] = "SELECT origin FROM Databases;";
constexpr char kDeleteDatabases[] = "DELETE FROM Databases WHERE origin IN ('%@');";
constexpr char kDeleteOrigins[] = "DELETE FROM Origins WHERE origin IN ('%@');";
constexpr char kSelectScopes[] = "SELECT * FROM webappsstore2;";
constexpr char kDeleteScopes[] = "DELETE FROM webappsstore2 WHERE scope IN ('%@');";
constexpr char kScopeColumn[] = "scope";

constexpr char kDatabaseIndex[] = "Databases.db";

constexpr char kSafariDatabases[] = "~/Library/Safari/Databases";
constexpr char kSafariLocalStorage[] = "~/Library/Safari/LocalStorage";
constexpr char kSafariStorageTracker[] = "~/Library/Safari/LocalStorage/StorageTracker.db";
constexpr char kSafariIndexedDB[] = "___IndexedDB";

constexpr char kChromeDatabases[] = "databases";
constexpr char kChromeLocalStorage[] = "Local Storage";
constexpr char kChromeIndexedDB[] = "IndexedDB";
constexpr char kJournal[] = "-journal";  // appended to a file's path as text

constexpr char kFirefoxTable[] = "webappsstore.sqlite";
constexpr const char* kFirefoxStorages[] = {"storage/default", "storage/temporary"};

/// The statement with the values between its quotes, joined by "','". They are not escaped: a stray quote in a value
/// makes the statement fail, and no row is deleted.
std::string statementFor(std::string_view statement, const Texts& values) {
  std::string list;
  std::size_t size = 0;
  for (const std::string& value : values) size += value.size() + 3;
  list.reserve(size);
  for (const std::string& value : values) {
    if (&value != &values.front()) list += "','";
    list += value;
  }
  return platform::formatted(statement, {list});
}

/// All texts in the query's rows, or only those of `column` when it is given.
Texts textsOf(const std::optional<Rows>& rows, std::optional<std::string_view> column = std::nullopt) {
  Texts texts;
  if (!rows) return texts;
  for (const Row row : *rows) {
    for (const std::string& name : row.columnNames()) {
      if (column && name != *column) continue;
      if (const auto text = row.stringForKey(name)) texts.emplace_back(*text);
    }
  }
  return texts;
}

/// The paths of these names in the folder. The names come from a browser's file: those that are not plain could lead
/// out of the folder, and are dropped.
Texts pathsIn(const std::string& folder, const Texts& names) {
  Texts paths;
  paths.reserve(names.size());
  for (const std::string& name : names) {
    if (platform::isPlainName(name)) paths.push_back(appendingPathComponent(folder, name));
  }
  return paths;
}

/// Today's browsers keep the storage of extensions and of sites in the same folders: where today's stores are cleaned,
/// only the sites' part is removed from them.
bool keepsExtensionsInSharedStores() {
  return Home::current().cleansCurrentStores;
}

void removeIfThere(const std::string& path) {
  if (Sandbox::fileExists(path)) Sandbox::remove(path);
}

}  // namespace

void WorkerAppDelegate::removeNonFavLocalStorage(const std::string& browserName) {
  if (browserName == kSafari) {
    removeSafariStorage();
  } else if (isOfChromeFamily(browserName)) {
    for (const std::string& profile : profilesOf(browserName)) removeChromeStorage(profile, browserName);
  } else if (browserName == kFirefox) {
    const std::string profiles(browserNamed(kFirefox)->library.dataFolder);
    for (const std::string& entry : Sandbox::folderContentsOf(profiles)) {
      const std::string profile = appendingPathComponent(profiles, entry);
      if (isDirectory(profile)) removeFirefoxStorage(profile);
    }
  }
}

void WorkerAppDelegate::removeSafariStorage() {
  const std::string index = appendingPathComponent(kSafariDatabases, kDatabaseIndex);
  if (Sandbox::fileExists(index)) {
    const Texts origins = databaseArray(textsOf(Sandbox::returnArrayFromSql_onfile(kSelectOrigins, index)));
    if (!origins.empty()) {
      Sandbox::removeFiles(pathsIn(kSafariDatabases, origins));
      Sandbox::runSql_onfile(statementFor(kDeleteDatabases, origins), index);
      Sandbox::runSql_onfile(statementFor(kDeleteOrigins, origins), index);
    }
  }

  const Texts names = localStorageArray_browser(Sandbox::folderContentsOf(kSafariLocalStorage), std::string(kSafari));
  if (!names.empty()) {
    Sandbox::removeFiles(pathsIn(kSafariLocalStorage, names));
    if (Sandbox::fileExists(kSafariStorageTracker)) {
      Texts origins;
      for (const std::string& name : names) origins.push_back(name.substr(0, name.rfind('.')));
      Sandbox::runSql_onfile(statementFor(kDeleteOrigins, origins), kSafariStorageTracker);
    }
  }

  removeIfThere(appendingPathComponent(kSafariDatabases, kSafariIndexedDB));
}

void WorkerAppDelegate::removeChromeStorage(const std::string& profile, const std::string& browserName) {
  const std::string databases = appendingPathComponent(profile, kChromeDatabases);
  const std::string index = appendingPathComponent(databases, kDatabaseIndex);
  if (Sandbox::fileExists(index)) {
    const Texts origins = databaseArray(textsOf(Sandbox::returnArrayFromSql_onfile(kSelectOrigins, index)));
    // Even when nothing was chosen: the statement then deletes rows with an empty origin.
    Sandbox::runSql_onfile(statementFor(kDeleteDatabases, origins), index);
    Sandbox::removeFiles(pathsIn(databases, origins));
  }

  const std::string localStorage = appendingPathComponent(profile, kChromeLocalStorage);
  if (Sandbox::fileExists(localStorage)) {
    Texts paths;
    for (const std::string& name : localStorageArray_browser(Sandbox::folderContentsOf(localStorage), browserName)) {
      const std::string path = appendingPathComponent(localStorage, name);
      paths.push_back(path);
      paths.push_back(path + kJournal);
    }
    Sandbox::removeFiles(paths);
  }

  if (!keepsExtensionsInSharedStores()) removeIfThere(appendingPathComponent(profile, kChromeIndexedDB));
}

void WorkerAppDelegate::removeFirefoxStorage(const std::string& profile) {
  const std::string table = appendingPathComponent(profile, kFirefoxTable);
  if (Sandbox::fileExists(table)) {
    const Texts scopes =
        mozillaLocalStorage(textsOf(Sandbox::returnArrayFromSql_onfile(kSelectScopes, table), kScopeColumn));
    Sandbox::runSql_onfile(statementFor(kDeleteScopes, scopes), table);
  }
  if (keepsExtensionsInSharedStores()) return;
  for (const char* storage : kFirefoxStorages) removeIfThere(appendingPathComponent(profile, storage));
}

}  // namespace tidewell
