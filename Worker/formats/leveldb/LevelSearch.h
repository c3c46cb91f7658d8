// A search through all that can be read of a database, whatever its state and its size. Read-only; about 2 MB of
// memory.
#pragma once

#include <functional>
#include <string_view>

#include "Worker/formats/leveldb/LevelFolder.h"

namespace tidewell {

/// Whether `isFound` returns true for a part of the database: raw bytes of its files, and its tables' entries, which
/// compression may hide; of a long key its first 1024 bytes. The parts are as long as memory allows, and overlap by 64
/// KB. Also true when something could not be read, or be understood, which may hold anything. Damage is passed over.
bool levelFolderHolds(const LevelFolder& folder, const std::function<bool(std::string_view bytes)>& isFound);

}  // namespace tidewell
