// "tidewell defaults": reads and writes settings from a terminal.
//
//   read DOMAIN [KEY]      prints one value, or all of them, with escapes for what would move a cursor
//   write DOMAIN KEY [-string S | -bool YES|NO | -int N | -array S…]
//   delete DOMAIN [KEY]    removes one value, or the whole domain
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "Platform/Linux/settings/SqliteUserDefaults.h"

namespace tidewell {

/// Exit statuses of the command.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;  // no such value, or the settings could not be read or written
inline constexpr int kMisused = 2;

class DefaultsCommand {
 public:
  DefaultsCommand(platform::linux_::SqliteUserDefaults& domains, std::ostream& output, std::ostream& errors)
      : domains_(domains), output_(output), errors_(errors) {}

  /// Runs with the arguments after "defaults"; returns the exit status. An error is one line on `errors`.
  int run(const std::vector<std::string>& arguments);

 private:
  using Arguments = std::vector<std::string>;

  int read(platform::linux_::DefaultsFile& file, const Arguments& arguments);
  int write(platform::linux_::DefaultsFile& file, const Arguments& arguments);
  int erase(platform::linux_::DefaultsFile& file, const Arguments& arguments);
  int missing(const Arguments& arguments);
  int misused(const std::string& why);

  platform::linux_::SqliteUserDefaults& domains_;
  std::ostream& output_;
  std::ostream& errors_;
};

}  // namespace tidewell
