// Removes what the Silverlight plug-in keeps for sites, whichever browser quit.

#include "Worker/WorkerAppDelegate.h"
#include "Worker/homes/Home.h"
#include "Worker/homes/PluginFolders.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {

void WorkerAppDelegate::removeSilverlight() {
  // There was never one for other homes.
  if (Home::current().layout == HomeLayout::kLibrary) Sandbox::remove(kSilverlightFolder);
}

}  // namespace tidewell
