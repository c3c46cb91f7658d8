// Overwrites a file in place, three times, before it is deleted.
//
// Class operations only, no state; any thread. It deletes nothing itself, and runs inside a grant that its caller
// holds. The return value is the only report: nothing is logged, nothing is thrown.
#pragma once

#include <cstdint>
#include <string>

namespace tidewell {

class SecureDelete {
 public:
  SecureDelete() = delete;

  /// Overwrites a file with all three passes. A folder is left as it is: nothing in it is overwritten. True when there
  /// is nothing at the path, when all passes succeeded, and for a folder.
  static bool wipe(const std::string& path);

  /// Overwrites one file with all three passes, in spite of the name. True when there is nothing at the path, or when
  /// all passes succeeded.
  static bool wipeContentsofDir(const std::string& path);

  /// One pass over one file: 1 writes 0x55, 2 writes 0xAA, 3 writes random bytes from 0 to 254; any other writes
  /// nothing and returns false. Covers the low 32 bits of the file's size, in bytes. True when the pass was written and
  /// the file closed without error.
  static bool wipe_phase(const std::string& path, std::int32_t phase);
};

}  // namespace tidewell
