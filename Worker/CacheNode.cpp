// The run's slot for caches. It removes nothing yet.

#include "Worker/WorkerAppDelegate.h"

namespace tidewell {

void WorkerAppDelegate::removeBrowserCache(const std::string&) {}

}  // namespace tidewell
