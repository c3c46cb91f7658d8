#include "Platform/Linux/host/IdleMemory.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace platform::linux_ {
namespace {

/// One of the process's mappings, from /proc/self/smaps (proc(5)).
struct Mapping {
  std::uintptr_t begin = 0;
  std::uintptr_t end = 0;
  bool isReadOnlyFile = false;
  bool isAsInTheFile = true;  // no page of it was ever written to

  void release() const {
    if (isReadOnlyFile && isAsInTheFile) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
  }
};

bool readHeader(const std::string& line, Mapping& mapping) {
  char permissions[5] = {};
  std::uint64_t inode = 0;
  if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s %*s %*s %" SCNu64, &mapping.begin, &mapping.end,
                  permissions, &inode) != 4) {
    return false;
  }
  mapping.isReadOnlyFile = inode != 0 && permissions[0] == 'r' && permissions[1] == '-' && permissions[3] == 'p';
  return true;
}

/// What the kernel reads again from the files when it is needed.
void releaseUnchangedMappings() {
  std::vector<Mapping> mappings;
  std::ifstream smaps("/proc/self/smaps");
  for (std::string line; std::getline(smaps, line);) {
    Mapping next;
    if (readHeader(line, next)) {
      mappings.push_back(next);
    } else if ((line.starts_with("Anonymous:") || line.starts_with("Swap:")) &&
               line.find(" 0 kB") == std::string::npos) {
      // Relocated addresses, for instance, are read-only now but not what is in the file.
      if (!mappings.empty()) mappings.back().isAsInTheFile = false;
    }
  }
  for (const Mapping& mapping : mappings) mapping.release();
}

}  // namespace

void releaseIdleMemory() {
  releaseUnchangedMappings();
  ::malloc_trim(0);  // last, since the look at the mappings takes memory too
}

}  // namespace platform::linux_
