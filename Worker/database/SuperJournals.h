// What a database must not make us do.
#pragma once

namespace tidewell {

/// From then on SQLite opens no super-journal in this process, and so deletes none: a crafted journal beside a database
/// can name any file of the system as its super-journal. The roll-back of such a journal fails instead. Any thread; the
/// first call counts.
void refuseSuperJournals();

}  // namespace tidewell
