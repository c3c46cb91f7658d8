// Removes what the Silverlight plug-in keeps for sites, whichever browser quit.

#include "Worker/PluginFolders.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {

void WorkerAppDelegate::removeSilverlight() {
  Sandbox::remove(kSilverlightFolder);
}

}  // namespace tidewell
