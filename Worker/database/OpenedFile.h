// Which file a connection really has open.
#pragma once

namespace tidewell {

class Sqlite;

/// Whether another file, or none, stands now where the connection's was opened. False while it is closed.
bool hasMoved(const Sqlite& connection);

}  // namespace tidewell
