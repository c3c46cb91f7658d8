// The offer to install the cookie script. Nothing is offered yet.

#include "Worker/WorkerAppDelegate.h"

namespace tidewell {

void WorkerAppDelegate::checkCookieScript() {}

}  // namespace tidewell
