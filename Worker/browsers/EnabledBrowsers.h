// Which browsers the person wants cleaned.
#pragma once

#include "Worker/browsers/Browser.h"

namespace tidewell {

/// By the shared settings, which are read afresh. Any thread.
bool isEnabled(const Browser& browser);

}  // namespace tidewell
