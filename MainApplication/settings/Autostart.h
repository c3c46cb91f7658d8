// Whether the worker starts with the session, for this person alone.
//
// Two mechanisms start it where it is installed for all: a desktop's autostart folders, and the person's service
// manager. Each looks for what is meant in the person's own folders first, so that is where both are switched off.
#pragma once

#include <string>

namespace tidewell {

class Autostart {
 public:
  /// `configuration` is the person's folder of settings ("~/.config"), `program` the worker's whole path.
  Autostart(const std::string& configuration, std::string program);

  bool isOn() const;

  /// False when it could not be set.
  bool set(bool on) const;

 private:
  /// Of all persons.
  bool isInstalled() const;

  std::string entry_;  // of the person's own autostart folder
  std::string mask_;   // in place of the link by which the service manager wants the worker
  std::string program_;
};

}  // namespace tidewell
