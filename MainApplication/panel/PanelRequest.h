// One panel, as a caller requests it over the bus.
#pragma once

#include <glibmm/variant.h>

#include <string>
#include <vector>

namespace tidewell {

/// A folder that can be chosen.
struct PanelChoice {
  std::string url;   // returned when it is chosen
  std::string path;  // as shown: valid UTF-8, whatever bytes the name has
  bool exists = false;
};

struct PanelRequest {
  std::string title;
  std::string message;
  std::string prompt;
  bool comesToTheFront = false;      // in front of all other windows
  bool offersNever = false;          // besides "Not Now"
  std::vector<PanelChoice> choices;  // the folder that is asked for first, then each above it

  /// Reads the dictionary that comes over the bus; entries that it lacks stay empty.
  static PanelRequest fromVariant(const Glib::VariantBase& panel);

  /// The nearest folder that exists; -1 when none does.
  int preselected() const;
};

}  // namespace tidewell
