// Bookmark data with any content: only data that this program could have encoded is accepted.

#include <cstdint>
#include <cstdlib>

#include "Platform/Linux/files/SecurityScopes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using platform::linux_::BookmarkData;
  const auto data = platform::dataFromBytes({reinterpret_cast<const char*>(bytes), size});
  const auto decoded = BookmarkData::decoded(data);
  if (decoded && decoded->encoded() != data) std::abort();
  platform::linux_::SecurityScopes scopes;
  const auto resolved = scopes.resolveBookmarkData(data);
  if (resolved.url && (!decoded || resolved.url->path() != decoded->path)) std::abort();
  // Resolving the data alone must not open anything.
  if (resolved.url && scopes.open(resolved.url->path(), 0)) std::abort();
  return 0;
}
