// The person's changes of the settings. Each is told in a toast, with a button that takes it back.
#pragma once

#include <string>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/settings/Widgets.h"

namespace tidewell {

class Changes {
 public:
  /// `changed` is called after each change, whether or not it could be saved. All must outlive the object.
  Changes(platform::linux_::SqliteUserDefaults& domains, AdwToastOverlay* toasts, Action changed);

  /// Return whether it could be saved.
  bool enable(const Browser& browser, bool on);
  bool setFlag(const std::string& key, const std::string& name, bool on);
  bool keep(const std::string& site);
  bool unkeep(const std::string& entry);
  /// Takes back the grants of a folder and of all below it.
  void takeBack(const std::string& folder);
  void clearHistory();

  /// Tells of a change that was made elsewhere, or that it could not be saved; returns which.
  bool told(bool isSaved, const std::string& text, const Action& undo);

  AdwToastOverlay* overlay() const { return toasts_; }

  /// Takes back the latest change, if it was not yet; Ctrl+Z does.
  void undo();

  /// Tells that, with a button for `undo` if there is one.
  void say(const std::string& text, const Action& undo = nullptr);

 private:
  bool setKeptSites(std::vector<std::string> entries, const std::string& text);

  platform::linux_::SqliteUserDefaults& domains_;
  SettingsStore settings_{domains_};
  AdwToastOverlay* toasts_;
  AdwToast* shown_ = nullptr;  // the latest
  Action undo_;                // of the latest change; none after it
  Action changed_;
};

}  // namespace tidewell
