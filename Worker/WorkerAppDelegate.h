// The worker itself: reacts to browsers that quit, runs the cleaners, answers the main application, notifies the
// person.
//
// One object lives for the whole process, always held by a shared pointer: work that outlives a call keeps it alive
// until it has run. Every setting is read when it is needed, and nothing locks.
//
// On a home with a folder "Library" each quit has two runs of its own, and each request is handled by itself; runs may
// overlap: removing a missing item or deleting rows twice has no effect. On other homes they are joined (JoinedRuns).
//
// The cleaners (CookieNode, LSNode, FlashNode, SilverlightNode, CacheNode) only handle a home with a folder "Library".
// Other homes, and today's stores on any home, are cleaned by cleaning/. clean() chooses.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/RemoteListener.h"
#include "Platform/UserNotificationCenter.h"
#include "Platform/UserUnixTask.h"
#include "Platform/Workspace.h"
#include "Worker/Agent.h"
#include "Worker/LibraryReport.h"
#include "Worker/browsers/Browser.h"
#include "Worker/cleaning/Cleaning.h"
#include "Worker/cleaning/HeldStores.h"
#include "Worker/cleaning/JoinedRuns.h"
#include "Worker/formats/LocalState.h"

namespace tidewell {

class WorkerAppDelegate : public Agent,
                          public platform::RemoteListenerDelegate,
                          public platform::UserNotificationCenterDelegate,
                          public std::enable_shared_from_this<WorkerAppDelegate> {
 public:
  /// Creates the object and sets it up, on the main thread. The installed platform must outlive it.
  static std::shared_ptr<WorkerAppDelegate> create();
  ~WorkerAppDelegate() override;
  WorkerAppDelegate(const WorkerAppDelegate&) = delete;
  WorkerAppDelegate& operator=(const WorkerAppDelegate&) = delete;

  // Service entry.

  /// Subscribes to quitting applications, becomes the notification centre's delegate, and writes the person's real home
  /// folder to the setting "userFolder" if that has no value yet.
  void setup();

  /// Accepts every connection, and exports the Agent interface to it.
  bool listener_shouldAcceptNewConnection(platform::RemoteConnection& connection) override;

  // Access request.

  void answerFrom_reply(const std::string& bundleIdentifier, Reply reply) override;

  // Cleaning run.

  /// Called when an application has quit. An enabled browser is cleaned now, and again in 8 seconds with a
  /// notification. On a home without a Library it is spared while it runs, and cleaned when it quits again.
  void appTerminated(const platform::ApplicationNotification& notification);

  static bool checkIfBrowserEnabled(const std::string& browserName);

  /// Cleans the browser's data, in the background; returns at once. `report` is told of it.
  void clearData_andNotify(const std::string& browserName, bool notify, IfRunning ifRunning = IfRunning::kIsSpared,
                           std::shared_ptr<LibraryReport> report = nullptr);

  /// Who hears of runs that have ended. `isLast`: no other follows for the same quit.
  using RunsHandler = std::function<void(const Browser& browser, const Report& report, bool isLast)>;
  void setRunsHandler(RunsHandler handler) { runsHandler_ = std::move(handler); }

  /// Told when runs begin, and when none is under way any more, on a home without a Library. On the main thread.
  void setUnderWayHandler(std::function<void(bool isUnderWay)> handler) {
    joinedRuns_->setUnderWayHandler(std::move(handler));
  }

  enum class Refusal { kUnknownBrowser, kNotEnabled, kIsRunning };
  /// Cleans a browser as if it had quit, if it runs only with IfRunning::kIsCleaned; `done` is called on a background
  /// thread when the last run is over. Returns why it does not.
  std::optional<Refusal> cleanNow(const std::string& bundleIdentifier, IfRunning ifRunning, JoinedRuns::Done done);

  // Endings, on a home without a Library. What is enabled and was seen to run is owed a cleaning until that has been
  // done to the end (OwedCleanings).

  /// Called when an application is seen to run; see Workspace.
  void applicationRuns(const std::string& bundleIdentifier, bool isNews);

  /// Cleans what is owed since an earlier session or an earlier worker, but for browsers that run.
  void cleanWhatIsOwed();

  /// The session ends, or the machine is shut down: waits for the enabled browsers that run, 20 seconds at most, cleans
  /// them once, and calls `done` on the main thread; at once where there is nothing to wait for, and on a home with a
  /// Library. May be called again, without effect.
  void sessionEnds(platform::Task done);

  // Completion notifications.

  /// Shows a silent notification, if the person allows them. Any thread.
  static void displayNotificationWithTitle_andText(const std::string& title, const std::string& text);
  bool userNotificationCenter_shouldPresentNotification(const platform::UserNotification& notification) override;
  void userNotificationCenter_didActivateNotification(const platform::UserNotification& notification) override;

  // Browser profile discovery.

  /// The profiles that Google Chrome's "Local State" lists, or, for any other name, Chromium's. Empty when the file
  /// can't be read or lists none; a profile without a display name is left out.
  ProfileMap userProfiles(const std::string& browserName);

  /// The profiles of a browser as every cleaner visits them: those of userProfiles() for Google Chrome and Chromium;
  /// for any other name the single unnamed profile "" of Opera, whose folder is the data folder itself.
  ProfileMap profileMap(const std::string& browserName);

  // CookieNode.

  /// Removes the cookie stores as whole files; Safari's one second later, and then starts the cookie script.
  void removeCookies(const std::string& browserName);
  /// Deletes all rows of the stores of channel IDs of the Chrome family.
  void deleteChromeChannelID(const std::string& browserName);

  // WorkerScripts.

  /// Asks the person to confirm the scripts folder, repeatedly until the script is installed or the person cancels.
  /// Runs on the main thread; a caller on another thread waits.
  static void checkCookieScript();
  /// Null when the script can't be run, which is logged, or when there is no scripts folder.
  std::unique_ptr<platform::UserUnixTask> scriptTask();
  /// Offers to install the script where it is missing, and starts it. On the main thread.
  void executeScript();

  // LSNode. The three selections keep order and duplicates.

  void removeNonFavLocalStorage(const std::string& browserName);
  /// The origins to delete: all but those of extensions.
  std::vector<std::string> databaseArray(const std::vector<std::string>& origins);
  /// The local-storage files to delete: all but companion files and those of the browser's own kind of extensions.
  std::vector<std::string> localStorageArray_browser(const std::vector<std::string>& names,
                                                     const std::string& browserName);
  /// The scopes to delete: those in the form of a site.
  std::vector<std::string> mozillaLocalStorage(const std::vector<std::string>& scopes);

  // FlashNode.
  void removeFlash(const std::string& browserName);
  void clearChromeFlash(const std::string& browserName);

  // SilverlightNode.
  void removeSilverlight();

  // CacheNode.
  void removeBrowserCache(const std::string& browserName);
  void clearExtraCookieCache();
  void clearChromeCache(const std::string& browserName);
  void clearFireFoxCache();
  /// Safari's caches in the system's temporary folders. Not called by any run.
  void clearExtraCache();
  void clearExtraCache(const std::string& root);

 private:
  WorkerAppDelegate() = default;

  /// Whether runs and requests of the home are joined.
  static bool joinsRuns();
  /// Everything that a run does for a browser: the operations of this class, or the tables of stores, of which alone
  /// the report tells.
  Report clean(const std::string& browserName, IfRunning ifRunning);

  // On other homes.
  void notifyOf(const Browser& browser, const Report& report);
  void tryAgainWhenFree(const Browser& browser, const Report& report);
  void tryAgain(const Browser& browser);
  void runsEnded(const Browser& browser, const Report& report, bool notifies);
  static std::vector<const Browser*> enabledOnesThatRun();
  void endSessionWhenDone();

  // On a home with a Library.
  void cleanTwice(const Browser& browser, Cause cause, IfRunning ifRunning, JoinedRuns::Done done = nullptr);
  void cleanWithReport(const std::string& browserName, IfRunning ifRunning, LibraryReport& report);
  static void obtainGrantsInLibrary(const Browser& browser);
  static bool isOfChromeFamily(const std::string& browserName);
  std::vector<std::string> profilesOf(const std::string& browserName);
  void removeSafariStorage();
  void removeChromeStorage(const std::string& profile, const std::string& browserName);
  void removeFirefoxStorage(const std::string& profile);

  platform::Workspace::ObserverToken observerToken_ = 0;
  platform::Workspace::ObserverToken runsObserverToken_ = 0;
  platform::Task sessionEnded_;  // set while the session ends
  bool waitsForBrowsers_ = true;
  RunsHandler runsHandler_;
  std::shared_ptr<JoinedRuns> joinedRuns_;  // on homes without a Library
  HeldStores heldStores_{[this](const Browser& browser) { tryAgain(browser); }};
};

}  // namespace tidewell
