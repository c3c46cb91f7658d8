// The main application's request: obtains the grants that later runs will need, while the person is present.

#include <utility>

#include "Platform/Format.h"
#include "Platform/Platform.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/Home.h"
#include "Worker/homes/PluginFolders.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr char kBookmarked[] = "bookmarked: %@ ";  // the trailing blank is part of the reply
constexpr char kSafariFolder[] = "~/Library/Safari/";
constexpr char kCachesFolder[] = "~/Library/Caches";

}  // namespace

void WorkerAppDelegate::obtainGrantsInLibrary(const Browser& browser) {
  Sandbox::access(std::string(browser.library.dataFolder));
  if (browser.name == kSafari) {
    Sandbox::access(kSafariFolder);
    Sandbox::checkForScriptInFolder();
  }
  Sandbox::access(kCachesFolder);
  Sandbox::access(kSilverlightFolder);
  Sandbox::access(kFlashPlayerFolder);
}

void WorkerAppDelegate::answerFrom_reply(const std::string& bundleIdentifier, Reply reply) {
  const Browser* browser = browserWithIdentifier(bundleIdentifier);
  // Returning drops the reply: such a caller never gets one.
  if (browser == nullptr) return;
  if (!browser->isOnHomesWithLibrary() && !Home::current().layout->knows(*browser)) return;

  Platform::current().dispatch.mainQueue().async([self = shared_from_this(), browser, reply = std::move(reply)] {
    // Refused grants are ignored: the reply only says that the request was processed.
    const platform::Task done = [browser, reply] {
      reply(platform::formatted(kBookmarked, {browser->bundleIdentifier}));
    };
    if (joinsRuns()) return self->joinedRuns_->request(*browser, done);
    platform::BlockOperation request;
    request.block = [browser] { obtainGrantsInLibrary(*browser); };
    request.completion = done;
    Platform::current().dispatch.makeOperationQueue()->addOperation(std::move(request));
  });
}

}  // namespace tidewell
