// A file "Preferences" with any content: the rewritten file is valid, and rewriting it again changes nothing.

#include <cstdint>
#include <cstdlib>

#include "Worker/formats/JsonParts.h"
#include "Worker/formats/Preferences.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using Action = tidewell::Rewriting::Action;
  const tidewell::Rewriting answer = tidewell::withoutSites({reinterpret_cast<const char*>(bytes), size});
  if (answer.action == Action::kRemove) std::abort();
  if (answer.action == Action::kLeave) return 0;
  if (answer.contents.size() >= size) std::abort();
  const auto isJson = tidewell::withoutParts(answer.contents, [](const auto&) { return false; }).has_value();
  if (!isJson) std::abort();
  if (tidewell::withoutSites(answer.contents).action != Action::kLeave) std::abort();
  return 0;
}
