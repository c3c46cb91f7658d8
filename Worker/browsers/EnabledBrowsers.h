// Which browsers the person wants cleaned.
#pragma once

#include "Worker/browsers/Browser.h"

namespace tidewell {

// By the shared settings, which are read afresh. Any thread. While they can't be read, neither is so.

bool isEnabled(const Browser& browser);
bool isDisabled(const Browser& browser);

}  // namespace tidewell
