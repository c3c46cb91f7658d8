// How a home is laid out: where in it each browser keeps its data, and what follows from that.
//
// There are two layouts. A home with a folder "Library" has everything in the places that the table of browsers names
// for it, and is cleaned by the operations of WorkerAppDelegate. Any other home follows the XDG Base Directory
// Specification, and can have a browser more than once: from the distribution or its maker, as a Flatpak, as a Snap.
// Other code asks the layout, and does not distinguish the two classes.
//
// A layout is read-only. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Worker/browsers/Browsers.h"
#include "Worker/homes/Installation.h"

namespace tidewell {

class Layout {
 public:
  virtual ~Layout() = default;

  /// The layout's name, in the setting and in the state that the main application prints.
  virtual std::string_view name() const = 0;

  /// Whether this layout is cleaned by the operations of WorkerAppDelegate, with their own request for folders.
  virtual bool hasOperations() const = 0;

  /// Whether folders that a browser was started with are cleaned as well.
  virtual bool followsArguments() const = 0;

  /// Whether a browser that runs again is spared.
  virtual bool sparesRunningBrowsers() const = 0;

  /// Whether a grant of "/", or of a folder that the home lies in, counts.
  virtual bool takesWideGrants() const = 0;

  /// Whether a request for the browser's folders is answered.
  virtual bool knows(const Browser& browser) const = 0;
  /// Whether anything of the browser can be on such a home.
  virtual bool mayHave(const Browser& browser) const = 0;

  /// The browser's existing places; on a home with a Library its only place, existing or not.
  virtual std::vector<Installation> installationsOf(const Browser& browser) const = 0;

  /// Where the stores of an installation lie. Reads lists of profiles and lists folders, under the grants.
  virtual StoreFolders storeFoldersOf(const Browser& browser, const Installation& installation) const = 0;

  /// The existing folders in which plug-ins that are not a browser's own keep what sites left.
  virtual std::vector<std::string> pluginFolders() const = 0;

  /// The folders that a browser's cleaning needs, as whole paths, in the order in which they are asked for.
  virtual std::vector<std::string> foldersNeededBy(const Browser& browser) const = 0;

  /// The folders that must be granted for the browser to count as allowed.
  virtual std::vector<std::string> foldersToAllow(const Browser& browser) const = 0;
};

}  // namespace tidewell
