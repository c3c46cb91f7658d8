#include "Worker/formats/leveldb/LevelFolder.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

#include "Platform/Path.h"
#include "Platform/Platform.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Result;
using State = LevelFolder::State;

constexpr std::uint64_t kHighestNumber = std::numeric_limits<std::uint64_t>::max() / 2;  // leaves room for more

struct Item {
  std::string type;
  std::uint64_t size = 0;
};

Result<Item> itemAt(const std::string& path) {
  const auto attributes = Platform::current().fileManagerOnOneMount.attributesOfItem(path);
  if (!attributes) return attributes.error();
  Item item;
  if (const auto type = attributes->find(platform::kFileType); type != attributes->end()) {
    if (const auto* text = type->second.as<std::string>()) item.type = *text;
  }
  if (const auto size = attributes->find(platform::kFileSize); size != attributes->end()) {
    if (const auto* bytes = size->second.as<std::int64_t>()) item.size = static_cast<std::uint64_t>(*bytes);
  }
  return item;
}

bool isAbsence(std::error_code error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

std::optional<std::uint64_t> numberIn(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || number > kHighestNumber) return std::nullopt;
  return number;
}

/// Sorts a file in by its name; false for a name that LevelDB does not give.
bool sortIn(LevelFolder& folder, std::string_view name, LevelFile file) {
  constexpr std::string_view kManifest = "MANIFEST-";
  if (name == "CURRENT") {
    folder.current = std::move(file);
    return true;
  }
  if (name == "LOG" || name == "LOG.old") {
    folder.others.push_back(std::move(file));
    return true;
  }
  if (name.starts_with(kManifest)) {
    const auto number = numberIn(name.substr(kManifest.size()));
    return number && folder.manifests.emplace(*number, std::move(file)).second;
  }
  const std::size_t dot = name.find('.');
  const auto number = numberIn(name.substr(0, dot));
  if (!number || dot == std::string_view::npos) return false;
  const std::string_view extension = name.substr(dot);
  if (extension == ".log") return folder.logs.emplace(*number, std::move(file)).second;
  if (extension == ".ldb" || extension == ".sst") return folder.tables.emplace(*number, std::move(file)).second;
  if (extension != ".dbtmp") return false;
  folder.others.push_back(std::move(file));
  return true;
}

bool sortInLost(LevelFolder& folder, const std::string& path) {
  folder.lost = path;
  const auto names = Platform::current().fileManagerOnOneMount.contentsOfDirectory(path);
  if (!names) return false;
  return std::all_of(names->begin(), names->end(), [&](const std::string& name) {
    const std::string below = platform::appendingPathComponent(path, name);
    const auto item = itemAt(below);
    if (!item || item->type != platform::kFileTypeRegular) return false;
    folder.others.push_back({below, item->size, &LevelBytes::ofFiles()});
    return true;
  });
}

/// False for an item that LevelDB would not have put there.
bool sortInItem(LevelFolder& folder, const std::string& name) {
  const std::string path = platform::appendingPathComponent(folder.path, name);
  const auto item = itemAt(path);
  if (!item) return false;
  if (name == "lost" && item->type == platform::kFileTypeDirectory) return sortInLost(folder, path);
  if (item->type != platform::kFileTypeRegular) return false;
  if (name != "LOCK") return sortIn(folder, name, {path, item->size, &LevelBytes::ofFiles()});
  folder.lock = path;
  return true;
}

}  // namespace

const LevelBytes& LevelBytes::ofFiles() {
  class Files : public LevelBytes {
    Result<std::string> read(const std::string& path, std::uint64_t offset, std::size_t count) const override {
      const auto file = Platform::current().fileManagerOnOneMount.readableFile(path);
      if (!file) return file.error();
      return (*file)->read(offset, count);
    }
  };
  static const Files files;
  return files;
}

State LevelFolder::findLock(const std::string& path, std::optional<std::string>& lock) {
  const auto folder = itemAt(path);
  if (!folder) return isAbsence(folder.error()) ? State::kAbsent : State::kStrange;
  if (folder->type == platform::kFileTypeRegular) return State::kAbsent;
  if (folder->type != platform::kFileTypeDirectory) return State::kStrange;

  const std::string lockPath = platform::appendingPathComponent(path, "LOCK");
  const auto item = itemAt(lockPath);
  if (!item) return isAbsence(item.error()) ? State::kDatabase : State::kStrange;
  if (item->type != platform::kFileTypeRegular) return State::kStrange;
  lock = lockPath;
  return State::kDatabase;
}

State LevelFolder::lookAt(const std::string& path, LevelFolder& folder, const std::vector<std::string>& othersFolders) {
  const auto names = Platform::current().fileManagerOnOneMount.contentsOfDirectory(path);
  if (!names) return isAbsence(names.error()) ? State::kAbsent : State::kStrange;
  folder = {};
  folder.path = path;
  bool isStrange = false;
  for (const std::string& name : *names) {
    const bool mayBeOthers = std::find(othersFolders.begin(), othersFolders.end(), name) != othersFolders.end();
    const auto item = mayBeOthers ? itemAt(platform::appendingPathComponent(path, name)) : Item();
    if (item && item->type == platform::kFileTypeDirectory) {
      folder.hasOthersFolders = true;
    } else {
      isStrange = !sortInItem(folder, name) || isStrange;
    }
  }
  if (isStrange) return State::kStrange;
  const bool isDatabase = folder.current || !folder.manifests.empty() || !folder.logs.empty() || !folder.tables.empty();
  return isDatabase ? State::kDatabase : State::kAbsent;
}

std::vector<LevelFile> LevelFolder::files() const {
  std::vector<LevelFile> files;
  if (current) files.push_back(*current);
  for (const auto* numbered : {&manifests, &logs, &tables}) {
    for (const auto& [number, file] : *numbered) files.push_back(file);
  }
  files.insert(files.end(), others.begin(), others.end());
  return files;
}

std::uint64_t LevelFolder::freeNumber() const {
  std::uint64_t number = 1;
  for (const auto* numbered : {&manifests, &logs, &tables}) {
    if (!numbered->empty()) number = std::max(number, numbered->rbegin()->first + 1);
  }
  return number;
}

}  // namespace tidewell
