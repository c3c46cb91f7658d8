// The settings of this and other programs of the person, in files of the person's configuration folder.
//
// One file for each domain, "<domain>.defaults", in a folder that only its owner can read. Any thread.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Platform/Linux/settings/DefaultsFile.h"
#include "Platform/UserDefaults.h"

namespace platform::linux_ {

class SqliteUserDefaults : public UserDefaultsDomains {
 public:
  /// `folder` is made when the first value is written. The log must outlive the object.
  SqliteUserDefaults(std::string folder, std::string ownDomain, Log& log);

  /// "$XDG_CONFIG_HOME/tidewell", or ".config/tidewell" in the home folder.
  static std::string folderFromEnvironment();

  std::unique_ptr<UserDefaults> suite(const std::string& name) override;
  std::unique_ptr<UserDefaults> standardUserDefaults() override;

  /// The file of a domain; null for a name that can't be a file's ("", "/" or NUL in it, a leading ".").
  std::shared_ptr<DefaultsFile> fileOfDomain(const std::string& name);

 private:
  const std::string folder_;
  const std::string ownDomain_;
  Log& log_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<DefaultsFile>> files_;  // guarded by mutex_
};

}  // namespace platform::linux_
