// The person's standard folders: Desktop, Documents, Downloads, Music, Pictures, Public, Templates, Videos.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace platform::linux_ {

/// Every place that one of them has or could have, whether it exists or not: by the session's variables
/// ("$XDG_DOCUMENTS_DIR"), by the file "user-dirs.dirs" in these folders of settings, and by their English names in the
/// home. Whole paths.
std::vector<std::string> userDirectories(const std::string& home, const std::vector<std::string>& settingsFolders);

/// The folders that the text of a "user-dirs.dirs" names: whole paths, or relative to the home as "$HOME/…". Other
/// lines are passed over.
std::vector<std::string> userDirectoriesIn(std::string_view text, const std::string& home);

}  // namespace platform::linux_
