// Keeps a crafted database from having other files deleted.
#pragma once

namespace tidewell {

/// Makes SQLite open no super-journal in this process, and so delete none: a crafted journal beside a database can name
/// any file of the system as its super-journal. The roll-back of such a journal fails instead. Any thread; only the
/// first call has an effect.
void refuseSuperJournals();

}  // namespace tidewell
