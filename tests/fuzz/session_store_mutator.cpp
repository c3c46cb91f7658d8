// Changes the text of a session, and packs it again: changed bytes of what is packed would hardly ever unpack.

#include <cstdint>
#include <cstring>

#include "tests/fuzz/session_file.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* bytes, std::size_t size, std::size_t most);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* bytes, std::size_t size, std::size_t most, unsigned seed) {
  constexpr std::size_t kLargestText = std::size_t{64} << 10;
  auto text = fuzz::unpackedSession({reinterpret_cast<const char*>(bytes), size}, kLargestText);
  const bool staysPacked = seed % 8 == 0;
  if (!text || staysPacked) return LLVMFuzzerMutate(bytes, size, most);
  const std::size_t before = text->size();
  text->resize(kLargestText);
  text->resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(text->data()), before, kLargestText));
  const std::string file = fuzz::packedSession(*text);
  if (file.size() > most) return LLVMFuzzerMutate(bytes, size, most);
  std::memcpy(bytes, file.data(), file.size());
  return file.size();
}
