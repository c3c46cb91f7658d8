// A file of Firefox's session with any content, and any text packed into such a file.

#include <lz4.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "Worker/formats/SessionStore.h"

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

  std::string file("mozLz40\0", 8);
  for (unsigned shift = 0; shift < 32; shift += 8) file += static_cast<char>(size >> shift);
  std::string block(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(size))), '\0');
  block.resize(static_cast<std::size_t>(
      LZ4_compress_default(text, block.data(), static_cast<int>(size), static_cast<int>(block.size()))));
  rewrite(file + block);
  return 0;
}
