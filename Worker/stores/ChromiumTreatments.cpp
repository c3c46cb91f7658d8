// The treatments of stores that only Chromium and its relatives have, beyond those in Treatments.cpp.

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

#include "Platform/Path.h"
#include "Worker/Identity.h"
#include "Worker/cells/InCell.h"
#include "Worker/cells/LevelInCell.h"
#include "Worker/formats/SessionCommands.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/stores/Treatments.h"

namespace tidewell::treatments {
namespace {

using platform::appendingPathComponent;

constexpr std::string_view kOfOpenTabs[] = {"Session_", "Apps_"};
constexpr std::string_view kOfClosedTabs = "Tabs_";

Outcome rewriteTabFile(const std::string& path, TabFile kind) {
  return GrantedFiles::rewrite(path, [kind](std::string_view file) { return InCell::withoutPageStates(file, kind); });
}

/// A file of tabs, as its name has it: "Session_13439804583041138".
struct TabFileName {
  std::string kind;         // "Session"
  std::uint64_t begun = 0;  // when the file was begun, in microseconds
};

TabFileName parsed(const std::string& name) {
  const std::size_t line = name.find('_');
  if (line == std::string::npos) return {name};
  TabFileName result{name.substr(0, line)};
  std::from_chars(name.data() + line + 1, name.data() + name.size(), result.begun);
  return result;
}

/// Whether nothing is in the file: the power may fail after the browser has made it.
bool isEmpty(const std::string& file) {
  return GrantedFiles::bytesOf(file, 0) == std::string();
}

/// Removes all rows from those of the tables that the database has, which `tables` chooses by their names. A database
/// without such rows is not written: it holds what people have typed as well.
Outcome emptyTables(const std::string& path, const std::string& tables) {
  Left left = Left::kNothing;
  const auto names =
      GrantedFiles::rowsOf("SELECT name FROM sqlite_master WHERE type = 'table' AND (" + tables + ");", path, left);
  if (!names) return {left};
  const Outcome outcome = GrantedFiles::remove(path + kAsideSuffix);  // left by a worker that was killed
  std::vector<std::string> statements;
  for (std::size_t row = 0; row < names->size(); ++row) {
    const std::string name((*names)[row].stringForKey("name").value_or(""));
    const auto first = GrantedFiles::rowsOf("SELECT 1 FROM \"" + name + "\" LIMIT 1;", path, left);
    if (!first || !first->empty()) statements.push_back("DELETE FROM \"" + name + "\";");
  }
  return statements.empty() ? outcome : GrantedFiles::changeDatabase(statements, path);
}

constexpr char kPushKeys[] = "Encryption";  // a database inside another one

}  // namespace

Outcome cleanOpenTabs(const std::string& path) {
  return rewriteTabFile(path, TabFile::kOpen);
}

Outcome cleanClosedTabs(const std::string& path) {
  return rewriteTabFile(path, TabFile::kClosed);
}

Outcome cleanTabFiles(const std::string& path) {
  Outcome outcome;
  if (!GrantedFiles::isDirectory(path)) return outcome;
  for (const std::string& name : GrantedFiles::entriesOf(path)) {
    const std::string file = appendingPathComponent(path, name);
    if (isEmpty(file)) continue;
    const bool isOfOpenTabs = std::any_of(std::begin(kOfOpenTabs), std::end(kOfOpenTabs),
                                          [&name](std::string_view beginning) { return name.starts_with(beginning); });
    if (isOfOpenTabs) outcome += cleanOpenTabs(file);
    if (name.starts_with(kOfClosedTabs)) outcome += cleanClosedTabs(file);
  }
  return outcome;
}

Outcome removeEncryptedTabFiles(const std::string& path) {
  // The browser writes both files of the same tabs at the same time, and reads the other one when this is missing.
  constexpr std::uint64_t kSameTime = 60'000'000;  // microseconds
  Outcome outcome;
  if (!GrantedFiles::isDirectory(path)) return outcome;
  const std::string readable = appendingPathComponent(platform::deletingLastPathComponent(path), "Sessions");
  std::vector<TabFileName> others;
  for (const std::string& name : GrantedFiles::entriesOf(readable)) {
    const auto isReadable = GrantedFiles::holds(appendingPathComponent(readable, name), InCell::isReadableTabFile);
    if (isReadable.value_or(false)) others.push_back(parsed(name));
  }
  for (const std::string& name : GrantedFiles::entriesOf(path)) {
    if (isEmpty(appendingPathComponent(path, name))) continue;
    const TabFileName file = parsed(name);
    const bool hasOther = std::any_of(others.begin(), others.end(), [&file](const TabFileName& other) {
      return other.kind == file.kind && other.begun + kSameTime >= file.begun;
    });
    outcome += hasOther ? GrantedFiles::remove(appendingPathComponent(path, name)) : Outcome{Left::kNotReadable};
  }
  return outcome;
}

Outcome cleanPushRegistrations(const std::string& path) {
  LevelInCell reader(ChromiumDatabase::kPushRegistrations, {});
  Outcome outcome;
  GrantedFiles::keepInLevelDatabase(path, reader, outcome, {kPushKeys});
  return outcome;
}

Outcome cleanPushKeys(const std::string& path) {
  LevelInCell reader(ChromiumDatabase::kPushKeys, {});
  Outcome outcome;
  GrantedFiles::keepInLevelDatabase(path, reader, outcome);
  return outcome;
}

Outcome cleanPredictions(const std::string& path) {
  return emptyTables(path, "name GLOB 'resource_prefetch_predictor_[a-z_]*' OR name GLOB 'lcp_critical_[a-z_]*'");
}

Outcome cleanPaymentManifests(const std::string& path) {
  return emptyTables(path, "name IN ('payment_method_manifest', 'web_app_manifest_section')");
}

}  // namespace tidewell::treatments
