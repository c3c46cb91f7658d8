// The run's slot for cookie stores. It removes nothing yet.

#include "Worker/WorkerAppDelegate.h"

namespace tidewell {

void WorkerAppDelegate::removeCookies(const std::string&) {}

}  // namespace tidewell
