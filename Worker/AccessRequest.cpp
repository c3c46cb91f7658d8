// The main application's request: obtains the grants that later runs will need, while the person is looking.

#include <map>
#include <utility>

#include "Platform/Format.h"
#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/Home.h"
#include "Worker/homes/PluginFolders.h"
#include "Worker/sandbox/Sandbox.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr char kBookmarked[] = "bookmarked: %@ ";  // the trailing blank is part of the answer
constexpr char kSafariFolder[] = "~/Library/Safari/";
constexpr char kCachesFolder[] = "~/Library/Caches";

/// Links can give a folder several names.
std::string withoutLinks(const std::string& folder) {
  return Platform::current().fileManager.urlByResolvingSymlinks(platform::FileURL(folder, true)).path();
}

}  // namespace

void WorkerAppDelegate::askForFolders(const std::string& browserName) {
  const Browser* browser = browserNamed(browserName);
  Home home = Home::whole();
  if (browser == nullptr || home.layout == HomeLayout::kLibrary) return;
  std::map<std::string, bool> isGranted;
  const auto ask = [&] {
    for (const std::string& folder : home.foldersNeededBy(*browser)) {
      const std::string place = withoutLinks(folder);
      if (!isGranted.contains(place)) isGranted[place] = Sandbox::accessFolder(folder);
    }
  };
  // A list in a folder that was granted may name more of them.
  home.contentsOf = [](const std::string&) { return std::nullopt; };
  ask();
  home.contentsOf = [&isGranted](const std::string& path) {
    const std::string folder = withoutLinks(platform::deletingLastPathComponent(path));
    return isGranted[folder] ? Sandbox::contentsOf(path) : std::nullopt;
  };
  ask();
}

void WorkerAppDelegate::answerFrom_reply(const std::string& bundleIdentifier, Reply reply) {
  const Browser* browser = browserWithIdentifier(bundleIdentifier);
  if (browser == nullptr) return;  // the reply goes with this call: such a caller is never answered

  Platform::current().dispatch.mainQueue().async([browser, reply = std::move(reply)] {
    platform::BlockOperation request;
    // Whether a grant could be obtained is not looked at: the answer says that the request was processed.
    request.block = [browser] {
      if (Home::whole().layout == HomeLayout::kXDG) return askForFolders(std::string(browser->name));
      Sandbox::access(std::string(browser->dataFolder));
      if (browser->name == kSafari) {
        Sandbox::access(kSafariFolder);
        Sandbox::checkForScriptInFolder();
      }
      Sandbox::access(kCachesFolder);
      Sandbox::access(kSilverlightFolder);
      Sandbox::access(kFlashPlayerFolder);
    };
    request.completion = [browser, reply] { reply(platform::formatted(kBookmarked, {browser->bundleIdentifier})); };
    Platform::current().dispatch.makeOperationQueue()->addOperation(std::move(request));
  });
}

}  // namespace tidewell
