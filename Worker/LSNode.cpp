// The run's slot for site storage. It removes nothing yet.

#include "Worker/WorkerAppDelegate.h"

namespace tidewell {

void WorkerAppDelegate::removeNonFavLocalStorage(const std::string&) {}

}  // namespace tidewell
