// Any text: what is within the bounds is JSON, and has as many values as it has parts.

#include <cstdint>
#include <cstdlib>

#include "Worker/formats/JsonBounds.h"
#include "Worker/formats/JsonParts.h"
#include "Worker/formats/LocalState.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  tidewell::profilesOfLocalState(text);
  std::size_t values = 1;  // the document itself
  const auto whole = tidewell::withoutParts(text, [&](const tidewell::JsonPart& part) {
    if (part.path.size() > tidewell::kDeepestJson) std::abort();
    ++values;
    return false;
  });
  if (whole && *whole != text) std::abort();
  if (!tidewell::isBoundedJson(text)) return 0;
  if (!whole || !tidewell::isBoundedJson(text, values) || tidewell::isBoundedJson(text, values - 1)) std::abort();
  return 0;
}
