#include "Worker/WorkerAppDelegate.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Platform/Assertion.h"
#include "Platform/Format.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/Home.h"
#include "Worker/homes/StartedWith.h"

namespace tidewell {
namespace {

using platform::Platform;
using platform::Value;

constexpr std::chrono::nanoseconds kSecondRunDelay{8'000'000'000};
constexpr char kRemovedFrom[] = "Cookies, Databases, Flash, Silverlight, and Cache removed from %@";

std::unique_ptr<platform::UserDefaults> sharedSuite() {
  return Platform::current().userDefaults.suite(kSharedSuite);
}

/// The person's real home folder, from the password database and never from the environment.
std::string RealHomeDirectory() {
  const platform::System& system = Platform::current().system;
  const std::optional<std::string> pw = system.homeDirectoryFromPasswordDatabase(system.getuid());
  if (!pw) platform::assertionFailed("pw", "RealHomeDirectory", "Worker/WorkerAppDelegate", 32);
  return *pw;
}

/// Whether a browser has been started again since it quit, on a home without a Library: it must not lose what it has
/// open. When it quits, it is cleaned anew.
bool runsAgain(const std::string& browserName) {
  const Browser* browser = browserNamed(browserName);
  return browser != nullptr && Home::whole().layout == HomeLayout::kXDG &&
         Platform::current().workspace.isRunning(std::string(browser->bundleIdentifier));
}

std::string asText(const std::optional<std::string>& text) {
  return platform::formatted("%@", {text});
}

}  // namespace

// Service entry.

std::shared_ptr<WorkerAppDelegate> WorkerAppDelegate::create() {
  const std::shared_ptr<WorkerAppDelegate> delegate(new WorkerAppDelegate());
  delegate->setup();
  return delegate;
}

WorkerAppDelegate::~WorkerAppDelegate() {
  Platform::current().workspace.removeObserver(observerToken_);
  Platform::current().userNotificationCenter.setDelegate(nullptr);
}

void WorkerAppDelegate::setup() {
  Platform& platform = Platform::current();
  observerToken_ = platform.workspace.addDidTerminateApplicationObserver(
      [this](const platform::ApplicationNotification& notification) { appTerminated(notification); });
  platform.userNotificationCenter.setDelegate(this);
  const auto suite = sharedSuite();
  if (!suite->objectForKey(kUserFolderKey)) {
    suite->setObject(RealHomeDirectory(), kUserFolderKey);
    suite->synchronize();
  }
}

bool WorkerAppDelegate::listener_shouldAcceptNewConnection(platform::RemoteConnection& connection) {
  connection.setExportedInterface(
      {kAgentInterface, kAgentMethod, [self = shared_from_this()](const std::string& argument, platform::Reply reply) {
         self->answerFrom_reply(argument, std::move(reply));
       }});
  connection.resume();
  return true;
}

// Cleaning run.

void WorkerAppDelegate::appTerminated(const platform::ApplicationNotification& notification) {
  const std::string name = asText(notification.applicationName);
  const std::string identifier = asText(notification.bundleIdentifier);
  const bool isOpera = identifier == kOperaIdentifier;
  if (name != kSafari && name != kGoogleChrome && name != kChromium && name != kFirefox && !isOpera) return;

  const std::string browserName = isOpera ? std::string(kOpera) : name;
  if (!checkIfBrowserEnabled(browserName)) return;
  rememberFolders(*browserNamed(browserName), notification.processes);
  // Both runs do the full work: what the browser wrote while it was going is caught by the second.
  clearData_andNotify(browserName, false);
  platform::Dispatch& dispatch = Platform::current().dispatch;
  dispatch.after(kSecondRunDelay, dispatch.globalHighPriorityQueue(),
                 [self = shared_from_this(), browserName] { self->clearData_andNotify(browserName, true); });
}

bool WorkerAppDelegate::checkIfBrowserEnabled(const std::string& browserName) {
  const Browser* browser = browserNamed(browserName);
  if (browser == nullptr) return false;
  const Value::Array enabled = sharedSuite()->arrayForKey(kEnabledBrowsersKey).value_or(Value::Array());
  return std::find(enabled.begin(), enabled.end(), Value(browser->bundleIdentifier)) != enabled.end();
}

void WorkerAppDelegate::clearData_andNotify(const std::string& browserName, bool notify) {
  Platform::current().dispatch.mainQueue().async([self = shared_from_this(), browserName, notify] {
    platform::BlockOperation run;
    const bool isSpared = notify && runsAgain(browserName);
    run.block = [self, browserName, isSpared] {
      if (isSpared) return;
      askForFolders(browserName);
      self->removeCookies(browserName);
      self->removeNonFavLocalStorage(browserName);
      self->removeFlash(browserName);
      self->removeSilverlight();
      self->removeBrowserCache(browserName);
    };
    if (notify) {
      run.completion = [self, browserName] {
        const std::string format = Platform::current().mainBundle.localizedString(kRemovedFrom, "");
        self->displayNotificationWithTitle_andText(kDisplayName, platform::formatted(format, {browserName}));
      };
    }
    Platform::current().dispatch.makeOperationQueue()->addOperation(std::move(run));
  });
}

// Completion notifications.

void WorkerAppDelegate::displayNotificationWithTitle_andText(const std::string& title, const std::string& text) {
  if (!sharedSuite()->boolForKey(kDisplayNotificationsKey)) return;
  platform::UserNotification notification;
  notification.title = asText(title);
  notification.subtitle = asText(text);
  notification.hasActionButton = false;
  notification.soundName = std::nullopt;
  notification.deliveryDate = std::chrono::system_clock::now();
  Platform::current().userNotificationCenter.scheduleNotification(std::move(notification));
}

bool WorkerAppDelegate::userNotificationCenter_shouldPresentNotification(const platform::UserNotification&) {
  return true;
}

void WorkerAppDelegate::userNotificationCenter_didActivateNotification(const platform::UserNotification& notification) {
  Platform::current().userNotificationCenter.removeDeliveredNotification(notification);
}

}  // namespace tidewell
