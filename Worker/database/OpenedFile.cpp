#include "Worker/database/OpenedFile.h"

#include <sqlite3.h>

#include "Worker/database/Sqlite.h"

namespace tidewell {

bool hasMoved(const Sqlite& connection) {
  int moved = 0;
  if (connection._db() == nullptr) return false;
  return sqlite3_file_control(connection._db(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

}  // namespace tidewell
