// What a caller wants to be asked: one panel.
#pragma once

#include <glibmm/variant.h>

#include <string>
#include <vector>

namespace tidewell {

/// A folder that can be chosen.
struct PanelChoice {
  std::string url;   // as it is answered
  std::string path;  // as it is shown: UTF-8, whatever the file's name
  bool exists = false;
};

struct PanelRequest {
  std::string title;
  std::string message;
  std::string prompt;
  bool comesToTheFront = false;      // of whatever the person has open
  std::vector<PanelChoice> choices;  // the folder that is asked for first, then each above it

  /// Reads the dictionary that comes over the bus; what is missing in it stays empty.
  static PanelRequest fromVariant(const Glib::VariantBase& panel);

  /// The nearest folder that exists; -1 when none does.
  int preselected() const;
};

}  // namespace tidewell
