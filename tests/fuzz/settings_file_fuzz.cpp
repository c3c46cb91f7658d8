// A settings file with any content: it is read, or set aside, and can be written afterwards.

#include <cstdint>
#include <cstdlib>

#include "Platform/Linux/settings/DefaultsFile.h"
#include "Platform/Linux/settings/ValueCodec.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string content(reinterpret_cast<const char*>(bytes), size);
  // As the value of a key… Compared as bytes, since a real that is no number equals nothing, itself included.
  if (const auto value = platform::linux_::decodedValue(content)) {
    const std::string encoded = platform::linux_::encodedValue(*value);
    const auto again = platform::linux_::decodedValue(encoded);
    if (!again || platform::linux_::encodedValue(*again) != encoded) std::abort();
  }
  // …and as the whole file.
  const testing_support::ScratchFolder folder;
  testing_support::FakeLog log;
  platform::linux_::DefaultsFile file(folder.file("fuzz.defaults", content), log);
  file.readAll();
  file.read("key");
  if (file.write("key", "value") && file.read("key") != platform::Value("value")) std::abort();
  return 0;
}
