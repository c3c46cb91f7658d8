#include "Worker/formats/CacheStorageIndex.h"

#include <cstdint>

namespace tidewell {
namespace {

// Fields of the index, a message in the wire format of protocol buffers. The others: 1 is a cache (with its name
// inside), 4 and 5 tell which bucket of the origin's storage this is.
constexpr std::uint64_t kOrigin = 2;
constexpr std::uint64_t kStorageKey = 3;  // the origin; of a frame in a page of another site, with that site after it

constexpr std::uint64_t kVarint = 0;
constexpr std::uint64_t kFixed64 = 1;
constexpr std::uint64_t kBytes = 2;
constexpr std::uint64_t kFixed32 = 5;

/// Takes a message apart, front to back. Each step answers nothing where the bytes end too early or make no sense.
class WireReader {
 public:
  explicit WireReader(std::string_view bytes) : rest_(bytes) {}

  bool atEnd() const { return rest_.empty(); }

  std::optional<std::uint64_t> varint() {
    std::uint64_t number = 0;
    for (int shift = 0; shift < 64; shift += 7) {
      if (rest_.empty()) return std::nullopt;
      const auto byte = static_cast<std::uint8_t>(rest_.front());
      rest_.remove_prefix(1);
      if (shift == 63 && byte > 1) return std::nullopt;  // more than 64 bits
      number |= static_cast<std::uint64_t>(byte & 0x7f) << shift;
      if (byte < 0x80) return number;
    }
    return std::nullopt;
  }

  std::optional<std::string_view> take(std::uint64_t length) {
    if (length > rest_.size()) return std::nullopt;
    const auto bytes = rest_.substr(0, static_cast<std::size_t>(length));
    rest_.remove_prefix(bytes.size());
    return bytes;
  }

  /// The value of a field of that type; empty for numbers, which nobody here asks for.
  std::optional<std::string_view> value(std::uint64_t type) {
    switch (type) {
      case kVarint:
        return varint() ? std::optional(std::string_view()) : std::nullopt;
      case kFixed64:
        return take(8);
      case kFixed32:
        return take(4);
      case kBytes:
        if (const auto length = varint()) return take(*length);
        return std::nullopt;
      default:
        return std::nullopt;
    }
  }

 private:
  std::string_view rest_;
};

/// A storage key is the origin, or goes on after it with "^" and what the storage is partitioned by.
bool belongsTo(std::string_view storageKey, std::string_view origin) {
  return storageKey.substr(0, storageKey.find('^')) == origin;
}

}  // namespace

std::optional<std::string> originOfCacheStorage(std::string_view indexTxt) {
  WireReader reader(indexTxt);
  std::optional<std::string_view> origin;
  std::optional<std::string_view> storageKey;
  while (!reader.atEnd()) {
    const auto tag = reader.varint();
    if (!tag) return std::nullopt;
    const std::uint64_t field = *tag >> 3;
    const std::uint64_t type = *tag & 7;
    const auto value = reader.value(type);
    if (!value || field == 0) return std::nullopt;
    auto* const known = field == kOrigin ? &origin : field == kStorageKey ? &storageKey : nullptr;
    if (known == nullptr) continue;
    if (type != kBytes || *known) return std::nullopt;  // no text, or told twice
    *known = value;
  }
  if (!origin || origin->empty() || (storageKey && !belongsTo(*storageKey, *origin))) return std::nullopt;
  return std::string(*origin);
}

}  // namespace tidewell
