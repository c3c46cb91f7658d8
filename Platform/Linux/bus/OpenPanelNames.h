// The bus names of the program that shows open panels.
#pragma once

namespace platform::linux_ {

inline constexpr char kOpenPanelName[] = "com.emberlinestudio.Tidewell.OpenPanel";  // of the service, and its interface
inline constexpr char kOpenPanelObject[] = "/com/emberlinestudio/Tidewell/OpenPanel";

}  // namespace platform::linux_
