#include "Worker/database/SuperJournals.h"

#include <sqlite3.h>

#include <mutex>

namespace tidewell {
namespace {

sqlite3_vfs* systemFiles = nullptr;
sqlite3_vfs files;  // the system's, except for xOpen

int openFile(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* flagsInUse) {
  if ((flags & SQLITE_OPEN_SUPER_JOURNAL) != 0) {
    file->pMethods = nullptr;
    return SQLITE_CANTOPEN;
  }
  return systemFiles->xOpen(systemFiles, name, file, flags, flagsInUse);
}

}  // namespace

void refuseSuperJournals() {
  static std::once_flag once;
  std::call_once(once, [] {
    systemFiles = sqlite3_vfs_find(nullptr);
    if (systemFiles == nullptr) return;
    files = *systemFiles;
    files.zName = "tidewell";
    files.pNext = nullptr;
    files.xOpen = openFile;
    sqlite3_vfs_register(&files, /*makeDflt=*/1);
  });
}

}  // namespace tidewell
