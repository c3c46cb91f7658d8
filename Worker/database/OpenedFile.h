// Detects that a database file was moved or replaced after it was opened.
#pragma once

namespace tidewell {

class Sqlite;

/// Whether the path at which the connection's file was opened now has another file, or none. False while the connection
/// is closed.
bool hasMoved(const Sqlite& connection);

}  // namespace tidewell
