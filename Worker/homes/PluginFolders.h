// The data folders of plug-ins that are not a browser's own, on a home with a Library.
#pragma once

namespace tidewell {

inline constexpr char kFlashPlayerFolder[] = "~/Library/Preferences/Macromedia/Flash Player";
inline constexpr char kSilverlightFolder[] = "~/Library/Application Support/Microsoft/Silverlight";

}  // namespace tidewell
