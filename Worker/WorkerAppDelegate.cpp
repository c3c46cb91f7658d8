#include "Worker/WorkerAppDelegate.h"

#include <chrono>
#include <utility>

#include "Platform/Assertion.h"
#include "Platform/Format.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/browsers/EnabledBrowsers.h"
#include "Worker/cleaning/Cleaning.h"
#include "Worker/cleaning/History.h"
#include "Worker/cleaning/Notice.h"
#include "Worker/cleaning/OwedCleanings.h"
#include "Worker/cleaning/ReportLog.h"
#include "Worker/homes/Home.h"
#include "Worker/homes/StartedWith.h"

namespace tidewell {
namespace {

using platform::Platform;

constexpr std::chrono::nanoseconds kSecondRunDelay{8'000'000'000};
constexpr char kAllowFolders[] = "Allow…";
constexpr char kBrowserOfNotice[] = "browser";  // in what a notification carries: the identifier
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

/// The browser that has quit: Opera by the identifier alone, other browsers that can be on a home with a Library by the
/// name alone, and browsers of other homes only by either. Null for any other application, and on a home with a Library
/// for a browser of other homes.
const Browser* browserThatQuit(const std::string& name, const std::string& identifier) {
  if (identifier == kOperaIdentifier) return browserWithIdentifier(kOperaIdentifier);
  const Browser* byName = name == kOpera ? nullptr : browserNamed(name);
  if (byName != nullptr && byName->isOnHomesWithLibrary()) return byName;
  const Browser* other = byName != nullptr ? byName : browserWithIdentifier(identifier);
  const bool isForOtherHomes = other != nullptr && !other->isOnHomesWithLibrary();
  return isForOtherHomes && Home::current().layout->knows(*other) ? other : nullptr;
}

std::string asText(const std::optional<std::string>& text) {
  return platform::formatted("%@", {text});
}

platform::UserNotification silentNotification(const std::string& title, const std::string& text) {
  platform::UserNotification notification;
  notification.title = asText(title);
  notification.subtitle = asText(text);
  notification.hasActionButton = false;
  notification.soundName = std::nullopt;
  notification.deliveryDate = std::chrono::system_clock::now();
  return notification;
}

/// On a home with a Library.
void notifyOfRun(const std::string& browserName) {
  const std::string format = Platform::current().mainBundle.localizedString(kRemovedFrom, "");
  WorkerAppDelegate::displayNotificationWithTitle_andText(kDisplayName, platform::formatted(format, {browserName}));
}

}  // namespace

// Service entry.

std::shared_ptr<WorkerAppDelegate> WorkerAppDelegate::create() {
  const std::shared_ptr<WorkerAppDelegate> delegate(new WorkerAppDelegate());
  delegate->setup();
  delegate->joinedRuns_ = JoinedRuns::create(
      [weak = delegate->weak_from_this()](const Browser& browser, IfRunning ifRunning) {
        const auto self = weak.lock();
        return self ? self->clean(std::string(browser.name), ifRunning) : Report{.isSpared = true};
      },
      [weak = delegate->weak_from_this()](const Browser& browser, const Report& report, bool notifies) {
        if (const auto self = weak.lock()) self->runsEnded(browser, report, notifies);
      });
  delegate->joinedRuns_->setBetweenRunsHandler(
      [weak = delegate->weak_from_this()](const Browser& browser, const Report& report) {
        const auto self = weak.lock();
        if (self && self->runsHandler_) self->runsHandler_(browser, report, false);
      });
  return delegate;
}

WorkerAppDelegate::~WorkerAppDelegate() {
  Platform::current().workspace.removeObserver(observerToken_);
  Platform::current().workspace.removeObserver(runsObserverToken_);
  Platform::current().userNotificationCenter.setDelegate(nullptr);
}

void WorkerAppDelegate::setup() {
  Platform& platform = Platform::current();
  observerToken_ = platform.workspace.addDidTerminateApplicationObserver(
      [this](const platform::ApplicationNotification& notification) { appTerminated(notification); });
  runsObserverToken_ = platform.workspace.addApplicationRunsObserver(
      [this](const std::string& identifier, bool isNews) { applicationRuns(identifier, isNews); });
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
  const Browser* browser = browserThatQuit(name, identifier);
  if (browser == nullptr) return;
  const std::string browserName(browser->name);
  if (!checkIfBrowserEnabled(browserName)) return;
  const Home home = Home::current();
  rememberFolders(home.folder, *home.layout, *browser, notification.processes);
  const IfRunning ifRunning = notification.evenIfRunning ? IfRunning::kIsCleaned : IfRunning::kIsSpared;
  const Cause cause = sessionEnded_                    ? Cause::kLogOut
                      : notification.processes.empty() ? Cause::kAnnounced
                                                       : Cause::kQuit;
  cleanTwice(*browser, cause, ifRunning);
}

/// Both runs do the full work: the second removes what the browser wrote while it was quitting.
void WorkerAppDelegate::cleanTwice(const Browser& browser, Cause cause, IfRunning ifRunning, JoinedRuns::Done done) {
  if (joinsRuns()) {
    OwedCleanings::noteUnlessNoted(browser);
    return joinedRuns_->quit(browser, cause, ifRunning, std::move(done));
  }
  const std::string browserName(browser.name);
  const auto runEnded = [self = shared_from_this(), &browser, done = std::move(done)](const Report& soFar,
                                                                                      bool isLast) {
    if (self->runsHandler_) self->runsHandler_(browser, soFar, isLast);
    if (isLast && done) done(soFar);
  };
  const auto report = LibraryReport::create(std::string(browser.bundleIdentifier), cause, runEnded);
  clearData_andNotify(browserName, false, ifRunning, report);
  platform::Dispatch& dispatch = Platform::current().dispatch;
  dispatch.after(kSecondRunDelay, dispatch.globalHighPriorityQueue(),
                 [self = shared_from_this(), browserName, ifRunning, report] {
                   self->clearData_andNotify(browserName, true, ifRunning, report);
                 });
}

std::optional<WorkerAppDelegate::Refusal> WorkerAppDelegate::cleanNow(const std::string& bundleIdentifier,
                                                                      IfRunning ifRunning, JoinedRuns::Done done) {
  const Browser* browser = browserWithIdentifier(bundleIdentifier);
  if (browser == nullptr || !Home::current().layout->knows(*browser)) return Refusal::kUnknownBrowser;
  if (!isEnabled(*browser)) return Refusal::kNotEnabled;
  if (ifRunning == IfRunning::kIsSpared && Platform::current().workspace.isRunning(bundleIdentifier)) {
    return Refusal::kIsRunning;
  }
  cleanTwice(*browser, Cause::kAnnounced, ifRunning, std::move(done));
  return std::nullopt;
}

bool WorkerAppDelegate::checkIfBrowserEnabled(const std::string& browserName) {
  const Browser* browser = browserNamed(browserName);
  return browser != nullptr && isEnabled(*browser);
}

void WorkerAppDelegate::clearData_andNotify(const std::string& browserName, bool notify, IfRunning ifRunning,
                                            std::shared_ptr<LibraryReport> report) {
  Platform::current().dispatch.mainQueue().async([self = shared_from_this(), browserName, notify, ifRunning, report] {
    platform::BlockOperation run;
    run.block = [self, browserName, ifRunning, report] {
      if (report) return self->cleanWithReport(browserName, ifRunning, *report);
      self->clean(browserName, ifRunning);
    };
    if (notify) {
      run.completion = [self, browserName] { notifyOfRun(browserName); };
    }
    Platform::current().dispatch.makeOperationQueue()->addOperation(std::move(run));
  });
}

void WorkerAppDelegate::cleanWithReport(const std::string& browserName, IfRunning ifRunning, LibraryReport& report) {
  const auto run = report.beginRun();
  {
    const OutcomeRecorder::Scope scope(run);
    run->note(clean(browserName, ifRunning));
  }
  run->done();
}

bool WorkerAppDelegate::joinsRuns() {
  return !Home::current().layout->hasOperations();
}

Report WorkerAppDelegate::clean(const std::string& browserName, IfRunning ifRunning) {
  const Home home = Home::current();
  const Kept kept = home.keptWithSites(*Platform::current().userDefaults.suite(kSharedSuite));
  const Browser* browser = browserNamed(browserName);
  if (home.layout->hasOperations()) {
    removeCookies(browserName);
    removeNonFavLocalStorage(browserName);
    removeFlash(browserName);
    removeSilverlight();
    removeBrowserCache(browserName);
    if (browser != nullptr && home.cleansCurrentStores) {
      return Cleaning(*home.layout, *browser, {StoreAge::kCurrent}, kept, ifRunning).run();
    }
  } else if (browser != nullptr) {
    using Ages = std::set<StoreAge>;
    const Ages ages =
        home.cleansCurrentStores ? Ages{StoreAge::kCurrent, StoreAge::kOld} : Ages{StoreAge::kOld, StoreAge::kReplaced};
    return Cleaning(*home.layout, *browser, ages, kept, ifRunning).run();
  }
  return {};
}

void WorkerAppDelegate::runsEnded(const Browser& browser, const Report& report, bool notifies) {
  // In this order: whenever the worker is killed, the cleaning is reported, and done, at least once.
  if (!report.runs.empty()) History::add(report);
  OwedCleanings::runEnded(browser);
  // One that runs, cleaned all the same or started again, is owed the cleaning after its quit.
  const bool runs = Platform::current().workspace.isRunning(std::string(browser.bundleIdentifier));
  if (!report.runs.empty() && !report.isWorthAnotherTry() && !runs) {
    OwedCleanings::settle(browser, report.runs.back().begun);
  }
  tryAgainWhenFree(browser, report);
  recordInLog(report);
  if (runsHandler_) runsHandler_(browser, report, true);
  if (notifies && !report.isSpared) notifyOf(browser, report);
}

void WorkerAppDelegate::tryAgainWhenFree(const Browser& browser, const Report& report) {
  Platform::current().dispatch.mainQueue().async(
      [weak = weak_from_this(), &browser, cause = report.cause, holders = HeldStores::holdersOf(report)] {
        if (const auto self = weak.lock()) self->heldStores_.cleaned(browser, cause, holders);
      });
}

// Completion notifications.

void WorkerAppDelegate::notifyOf(const Browser& browser, const Report& report) {
  const auto suite = sharedSuite();
  if (!suite->boolForKey(kDisplayNotificationsKey)) return;
  std::optional<Notice> notice = noticeOf(report, browser.name);
  if (!notice && suite->boolForKey(kNotifyAlwaysKey)) notice = noticeOfNothing(browser.name);
  if (!notice) return;
  platform::UserNotification notification = silentNotification(kDisplayName, notice->text);
  notification.informativeText = notice->more;
  notification.userInfo = {{kBrowserOfNotice, std::string(browser.bundleIdentifier)}};
  if (!report.notAllowed().empty() && joinedRuns_->hasFoldersToAskFor(browser)) {
    notification.hasActionButton = true;
    notification.actionButtonTitle = Platform::current().mainBundle.localizedString(kAllowFolders, "");
  }
  Platform::current().userNotificationCenter.scheduleNotification(std::move(notification));
}

void WorkerAppDelegate::displayNotificationWithTitle_andText(const std::string& title, const std::string& text) {
  if (!sharedSuite()->boolForKey(kDisplayNotificationsKey)) return;
  Platform::current().userNotificationCenter.scheduleNotification(silentNotification(title, text));
}

bool WorkerAppDelegate::userNotificationCenter_shouldPresentNotification(const platform::UserNotification&) {
  return true;
}

void WorkerAppDelegate::userNotificationCenter_didActivateNotification(const platform::UserNotification& notification) {
  Platform::current().userNotificationCenter.removeDeliveredNotification(notification);
  const auto carried = notification.userInfo.find(kBrowserOfNotice);
  const Browser* browser = carried != notification.userInfo.end() ? browserWithIdentifier(carried->second) : nullptr;
  if (browser == nullptr || !joinsRuns()) return;
  if (notification.activationType == platform::UserNotification::ActivationType::kActionButtonClicked) {
    return joinedRuns_->askAgain(*browser);
  }
  Platform::current().workspace.openApplication(kWindowIdentifier, carried->second, notification.activationToken);
}

}  // namespace tidewell
