// Who the worker is: the names that other programs know it by.
#pragma once

namespace tidewell {

/// Names the service, and the domain of the worker's own settings.
inline constexpr char kBundleIdentifier[] = "7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker";

/// The settings that the worker shares with the main application.
inline constexpr char kSharedSuite[] = "7QX2LM9PDA.com.emberlinestudio.Tidewell";

/// Ends the name of what is to take another item's place and is not whole yet, or of what it has replaced.
inline constexpr char kAsideSuffix[] = ".tidewell";

/// What a person reads as the name of all of it.
inline constexpr char kDisplayName[] = "Tidewell";

/// Keys of the shared settings.
inline constexpr char kEnabledBrowsersKey[] = "enabledBrowsers";            // array of bundle identifiers
inline constexpr char kDisplayNotificationsKey[] = "displayNotifications";  // boolean, absent: no
inline constexpr char kUserFolderKey[] = "userFolder";                      // string, the real home folder
inline constexpr char kSecureDeleteDataKey[] = "secureDeleteData";          // boolean, absent: no
inline constexpr char kHomeLayoutKey[] = "homeLayout";                      // "Library" or "XDG", absent: found out
inline constexpr char kCurrentStoresKey[] = "currentStores";                // boolean, absent: by the layout
inline constexpr char kStartedWithKey[] = "startedWith";  // array of [bundle identifier, folder], written by the worker

}  // namespace tidewell
