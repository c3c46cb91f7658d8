// Removes what the Silverlight plug-in keeps for sites, whichever browser quit.

#include "Worker/WorkerAppDelegate.h"
#include "Worker/homes/PluginFolders.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {

void WorkerAppDelegate::removeSilverlight() {
  Sandbox::remove(kSilverlightFolder);
}

}  // namespace tidewell
