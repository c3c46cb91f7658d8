#include "Worker/stores/CacheFolders.h"

#include <span>
#include <vector>

#include "Platform/Path.h"
#include "Worker/formats/CacheStorageIndex.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell::treatments {
namespace {

using platform::appendingPathComponent;

constexpr Outcome kUnread{Left::kNotReadable};
constexpr std::size_t kMostAtOnce = 512;
constexpr std::size_t kMostBytesAtOnce = std::size_t{8} << 20;

/// Reads the indexes of the first so many folders; leaves out those that can't be read. Returns how many it was.
std::size_t readSome(const std::string& path, std::span<const std::string> names, std::vector<CacheIndex>& indexes,
                     Outcome& outcome) {
  std::size_t count = 0;
  for (std::size_t size = 0; count < names.size() && count < kMostAtOnce && size < kMostBytesAtOnce; ++count) {
    CacheIndex index{appendingPathComponent(appendingPathComponent(path, names[count]), "index.txt")};
    const auto take = [&index](std::string_view bytes) {
      index.bytes = bytes;
      return true;
    };
    if (GrantedFiles::holds(index.path, take, kLargestCacheStorageIndex)) {
      size += index.bytes ? index.bytes->size() : 0;
      indexes.push_back(std::move(index));
    } else {
      outcome += kUnread;
    }
  }
  return count;
}

}  // namespace

Outcome removeCachesUnless(const std::string& path, CellTask task,
                           const std::function<std::optional<bool>(const CacheIndex& index)>& stays) {
  Outcome outcome;
  if (!GrantedFiles::isDirectory(path)) return outcome;
  const std::vector<std::string> names = GrantedFiles::entriesOf(path);
  OwnersInCell reader(task);
  for (std::span<const std::string> rest(names); !rest.empty();) {
    std::vector<CacheIndex> indexes;
    rest = rest.subspan(readSome(path, rest, indexes, outcome));
    std::vector<std::string_view> read;
    for (const CacheIndex& index : indexes) {
      if (index.bytes) read.push_back(*index.bytes);
    }
    const std::vector<OwnersInCell::Answer> owners = reader.ownersIn(read);
    auto owner = owners.begin();
    for (CacheIndex& index : indexes) {
      const OwnersInCell::Answer answer = index.bytes ? *owner++ : OwnersInCell::Owner();
      if (answer) index.owner = *answer;
      const auto isKept = answer ? stays(index) : std::nullopt;
      if (!isKept) outcome += kUnread;
      if (!isKept.value_or(true)) outcome += GrantedFiles::remove(platform::deletingLastPathComponent(index.path));
    }
  }
  return outcome;
}

}  // namespace tidewell::treatments
