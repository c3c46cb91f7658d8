// The index of a site's caches with any content, and with a cache of any name: no name passes for the owner.

#include <cstdint>
#include <cstdlib>

#include "Worker/formats/ByteReader.h"
#include "Worker/formats/CacheStorageIndex.h"

namespace {

constexpr char kOwner[] = "https://owner.test/";

void appendText(std::string& message, char tag, std::string_view text) {
  message += tag;
  tidewell::appendNumber(message, text.size());
  message += text;
}

/// An index of one cache of that name.
std::string indexWithCache(std::string_view name) {
  std::string cache, index;
  appendText(cache, '\x0A', name);
  appendText(index, '\x0A', cache);
  appendText(index, '\x12', kOwner);
  return index;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  const auto origin = tidewell::originOfCacheStorage(text);
  if (origin && (origin->empty() || text.find(*origin) == std::string_view::npos)) std::abort();
  // Two owners are none.
  std::string twice(text);
  appendText(twice, '\x12', kOwner);
  if (origin && tidewell::originOfCacheStorage(twice)) std::abort();
  if (tidewell::originOfCacheStorage(indexWithCache(text)) != kOwner) std::abort();
  return 0;
}
