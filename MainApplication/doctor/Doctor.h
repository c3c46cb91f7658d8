// Looks at everything that can be wrong around the worker, and says what to do. Changes nothing.
//
// Each look is a struct of facts: now() finds them out, findings() says what they mean. Main thread.
#pragma once

#include "MainApplication/doctor/Finding.h"
#include "Platform/Linux/settings/SqliteUserDefaults.h"

namespace tidewell {

/// All looks, one after the other. Takes a second; five more for a worker that does not answer.
Findings examine(platform::linux_::SqliteUserDefaults& domains);

}  // namespace tidewell
