// What other programs of the session can ask about cleanings, and have done; the settings window and "tidewell" are two
// of them. packaging/dbus/com.emberlinestudio.Tidewell.Cleanings.xml describes it for others.
//
// Reports hold no name of a site and no path that a site has chosen.
#pragma once

#include "Platform/RemoteService.h"
#include "Worker/WorkerAppDelegate.h"

namespace tidewell {

inline constexpr char kCleaningsInterface[] = "com.emberlinestudio.Tidewell.Cleanings";
inline constexpr char kCleanMethod[] = "Clean";            // (s browser, b evenIfRunning) → report
inline constexpr char kLastReportMethod[] = "LastReport";  // (s browser, "" for any) → report, empty for none
inline constexpr char kRunEndedSignal[] = "RunEnded";      // (s browser, report so far): another run follows
inline constexpr char kCleanedSignal[] = "Cleaned";        // (s browser, report)

inline constexpr char kUnknownBrowserError[] = "com.emberlinestudio.Tidewell.Error.UnknownBrowser";
inline constexpr char kNotEnabledError[] = "com.emberlinestudio.Tidewell.Error.NotEnabled";
inline constexpr char kIsRunningError[] = "com.emberlinestudio.Tidewell.Error.IsRunning";

/// A report as other programs get it: as it is stored, with its sums: "done" (a boolean), "items" and "bytes".
platform::Value::Dictionary publicFormOf(const Report& report);

/// The interface that is served for a delegate, which must outlive the service.
platform::RemoteInterface cleaningsInterface(WorkerAppDelegate& delegate);

/// Has the service send the signals of a delegate's runs. The service must outlive the delegate's runs.
void announceRuns(WorkerAppDelegate& delegate, platform::RemoteService& service);

}  // namespace tidewell
