// Whatever a hostile cell answers: texts hold nothing that was not in the file, profiles lead straight down, and nobody
// is an owner whom the file does not name; no file changes but those of the database that is read.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/cells/InCell.h"
#include "Worker/cells/LevelInCell.h"
#include "Worker/formats/leveldb/LevelDatabase.h"
#include "tests/support/ScriptedCells.h"
#include "tests/support/TestPlatform.h"

namespace {

using testing_support::ScriptedCells;
using tidewell::InCell;
using tidewell::Rewriting;

constexpr char kFile[] = R"({"home":"mine","exceptions":{"https://a.test,*":{}},"origin":"chrome-extension://a/"})";

bool holdsNothingNew(std::string_view rest) {
  std::size_t found = 0;
  for (const char byte : std::string_view(kFile)) {
    if (found < rest.size() && rest[found] == byte) ++found;
  }
  return found == rest.size();
}

bool isStraight(const std::string& path) {
  const std::vector<std::string> components = platform::pathComponents(path);
  const auto first = components.begin() + (path.starts_with('/') ? 1 : 0);
  return first != components.end() && std::all_of(first, components.end(), platform::isPlainName);
}

/// A database of which a cell says anything is whole, removed, or one that a second cell approves of; nothing else is
/// touched.
void readDatabase(testing_support::TestPlatform& p) {
  const std::string folder = p.home.path("db");
  p.home.file("neighbour");
  for (const char* name : {"CURRENT", "MANIFEST-000001", "000002.ldb", "000003.log"}) {
    p.home.file(std::string("db/") + name, kFile);
  }
  const auto before = p.home.tree();
  tidewell::LevelInCell reader(tidewell::ChromiumDatabase::kLocalStorage, {});
  const auto outcome = tidewell::LevelDatabase::keepOnly(
      folder, reader, [&p](const std::string& path) { p.fileManager.removeItem(path); });
  using Outcome = tidewell::LevelDatabase::Outcome;
  if (outcome == Outcome::kLeft && p.home.tree() != before) std::abort();
  if ((outcome == Outcome::kRemoved) == p.home.exists("db")) std::abort();
  if (p.home.exists("db.tidewell") || p.home.content("neighbour") != "content") std::abort();
  std::filesystem::remove_all(folder);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static testing_support::TestPlatform p;
  p.scopes.openForProcess(platform::FileURL(p.home.path(), true));
  // The answers of all cells, one after the other, each with its length before it.
  std::string_view rest(reinterpret_cast<const char*>(bytes), size);
  ScriptedCells cells([&rest](std::size_t, std::string_view) -> std::optional<std::string> {
    if (rest.empty()) return std::nullopt;
    const auto length = std::min<std::size_t>(static_cast<unsigned char>(rest[0]), rest.size() - 1);
    std::string answer(rest.substr(1, length));
    rest.remove_prefix(1 + length);
    return answer;
  });
  platform::Platform withCells{
      p.bundle, p.dispatch,     p.fileManager,        p.fileManagerOnOneMount, p.log,       p.openPanel, p.scopes,
      p.system, p.userDefaults, p.notificationCenter, p.userScripts,           p.workspace, cells,       p.confinement};
  platform::Platform* const before = platform::Platform::install(&withCells);
  const Rewriting preferences = InCell::withoutSites(kFile, {});
  if (preferences.action == Rewriting::Action::kRemove || !holdsNothingNew(preferences.contents)) std::abort();
  InCell::withoutSiteData(kFile, {});
  InCell::withoutPageStates(kFile, tidewell::TabFile::kOpen);
  InCell::profilesOfLocalState(kFile);
  for (const std::string& profile : InCell::listedProfiles(kFile)) {
    if (!isStraight(profile)) std::abort();
  }
  const std::vector<std::string_view> files(3, kFile);
  for (const auto& owner : tidewell::OwnersInCell(tidewell::CellTask::kOriginsOfCaches).ownersIn(files)) {
    if (owner && *owner && std::string_view(kFile).find(**owner) == std::string_view::npos) std::abort();
  }
  readDatabase(p);
  platform::Platform::install(before);
  return 0;
}
