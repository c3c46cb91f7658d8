// Runs a fuzz target once on each file of the folders in its arguments, so that the corpus serves as a test.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int count, char** folders) {
  int replayed = 0;
  for (int index = 1; index < count; ++index) {
    for (const auto& entry : std::filesystem::directory_iterator(folders[index])) {
      std::ostringstream content;
      content << std::ifstream(entry.path(), std::ios::binary).rdbuf();
      const std::string bytes = content.str();
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++replayed;
    }
  }
  std::printf("%d inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}
