// A file of Firefox's session with any content, and any text packed into such a file.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "Worker/formats/SessionStore.h"
#include "tests/fuzz/session_file.h"

namespace {

using Action = tidewell::Rewriting::Action;

/// Rewriting a rewritten file must change nothing.
void rewrite(std::string_view file) {
  const tidewell::Rewriting answer = tidewell::withoutSiteData(file);
  if (answer.action != Action::kReplace) return;
  if (tidewell::withoutSiteData(answer.contents).action != Action::kLeave) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const auto* text = reinterpret_cast<const char*>(bytes);
  rewrite({text, size});
  rewrite(fuzz::packedSession({text, size}));
  return 0;
}
