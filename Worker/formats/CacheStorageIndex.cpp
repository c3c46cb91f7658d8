#include "Worker/formats/CacheStorageIndex.h"

#include <cstdint>

#include "Worker/formats/ByteReader.h"

namespace tidewell {
namespace {

// Fields of the index, a message in the wire format of protocol buffers. The others: 1 is a cache (with its name
// inside), 4 and 5 identify the bucket of the origin's storage.
constexpr std::uint64_t kOrigin = 2;
constexpr std::uint64_t kStorageKey = 3;  // the origin; of a frame in a page of another site, with that site after it

constexpr std::uint64_t kVarint = 0;
constexpr std::uint64_t kFixed64 = 1;
constexpr std::uint64_t kBytes = 2;
constexpr std::uint64_t kFixed32 = 5;

/// The value of a field of that type; empty for numbers, which are not needed. Absent when the bytes hold no such
/// value.
std::optional<std::string_view> nextValue(ByteReader& reader, std::uint64_t type) {
  switch (type) {
    case kVarint:
      return reader.number() ? std::optional(std::string_view()) : std::nullopt;
    case kFixed64:
      return reader.bytes(8);
    case kFixed32:
      return reader.bytes(4);
    case kBytes:
      return reader.text();
    default:
      return std::nullopt;
  }
}

/// A storage key is the origin, which may be followed by "^" and what the storage is partitioned by.
bool belongsTo(std::string_view storageKey, std::string_view origin) {
  return storageKey.substr(0, storageKey.find('^')) == origin;
}

struct OwnerFields {
  std::optional<std::string_view> origin;
  std::optional<std::string_view> storageKey;
};

std::optional<OwnerFields> ownerIn(std::string_view indexTxt) {
  ByteReader reader(indexTxt);
  OwnerFields owner;
  while (!reader.atEnd()) {
    const auto tag = reader.number();
    if (!tag) return std::nullopt;
    const std::uint64_t field = *tag >> 3;
    const std::uint64_t type = *tag & 7;
    const auto value = nextValue(reader, type);
    if (!value || field == 0) return std::nullopt;
    auto* const known = field == kOrigin ? &owner.origin : field == kStorageKey ? &owner.storageKey : nullptr;
    if (known == nullptr) continue;
    if (type != kBytes || *known) return std::nullopt;  // no text, or given twice
    *known = value;
  }
  const auto& [origin, storageKey] = owner;
  if (!origin || origin->empty() || (storageKey && !belongsTo(*storageKey, *origin))) return std::nullopt;
  return owner;
}

}  // namespace

std::optional<std::string> originOfCacheStorage(std::string_view indexTxt) {
  const auto owner = ownerIn(indexTxt);
  return owner ? std::optional<std::string>(*owner->origin) : std::nullopt;
}

std::optional<std::string> storageKeyOfCacheStorage(std::string_view indexTxt) {
  const auto owner = ownerIn(indexTxt);
  return owner ? std::optional<std::string>(owner->storageKey.value_or(*owner->origin)) : std::nullopt;
}

}  // namespace tidewell
