// The worker's identity: the names under which other programs know it, and the keys of the shared settings.
#pragma once

namespace tidewell {

/// Names the service, and the domain of the worker's own settings.
inline constexpr char kBundleIdentifier[] = "7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker";

/// The settings window, for desktops and on the bus. It shows a browser that it is given the identifier of.
inline constexpr char kWindowIdentifier[] = "com.emberlinestudio.Tidewell";

/// The settings that the worker shares with the main application.
inline constexpr char kSharedSuite[] = "7QX2LM9PDA.com.emberlinestudio.Tidewell";

/// Suffix of a replacement that is still being written, or of the item that it has replaced.
inline constexpr char kAsideSuffix[] = ".tidewell";

/// The product's name, as the person sees it.
inline constexpr char kDisplayName[] = "Tidewell";

/// Keys of the shared settings.
inline constexpr char kEnabledBrowsersKey[] = "enabledBrowsers";            // array of bundle identifiers
inline constexpr char kDisplayNotificationsKey[] = "displayNotifications";  // boolean, absent: no
inline constexpr char kNotifyAlwaysKey[] = "notifyAlways";          // boolean, absent: no; of nothing removed too
inline constexpr char kUserFolderKey[] = "userFolder";              // string, the real home folder
inline constexpr char kSecureDeleteDataKey[] = "secureDeleteData";  // boolean, absent: no
inline constexpr char kHomeLayoutKey[] = "homeLayout";              // "Library" or "XDG", absent: detected
inline constexpr char kCurrentStoresKey[] = "currentStores";        // boolean, absent: by the layout
inline constexpr char kKeepSiteSettingsKey[] = "keepSiteSettings";  // boolean, absent: no
inline constexpr char kKeptSitesKey[] = "keptSites";                // array of sites, absent: none
inline constexpr char kStartedWithKey[] = "startedWith";  // array of [bundle identifier, folder], written by the worker

inline constexpr char kNoHistoryKey[] = "noHistory";  // boolean, absent: no; reports of cleanings are not kept

/// Keys of the worker's own settings, beside the grants.
inline constexpr char kNeverAskedKey[] = "neverAsked";      // array of folders, which are asked for by hand only
inline constexpr char kHistoryKey[] = "history";            // array of reports, the newest last
inline constexpr char kOwedCleaningKey[] = "owedCleaning";  // begins the key of each note
inline constexpr char kRunUnderWayKey[] = "runUnderWay";    // begins the key of each; its value is when it began

}  // namespace tidewell
