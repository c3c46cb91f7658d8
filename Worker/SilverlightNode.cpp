// Removes what the Silverlight plug-in keeps for sites, whichever browser quit.

#include "Worker/Home.h"
#include "Worker/PluginFolders.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {

void WorkerAppDelegate::removeSilverlight() {
  // There was never one for other homes.
  if (Home::current().layout == HomeLayout::kLibrary) Sandbox::remove(kSilverlightFolder);
}

}  // namespace tidewell
