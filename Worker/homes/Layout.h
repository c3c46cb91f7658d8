// How a home is laid out: where in it each browser keeps its data, and what follows from that.
//
// There are two layouts. A home with a folder "Library" has everything in the places that the table of browsers names
// for it, and is cleaned by the operations of WorkerAppDelegate. Any other home is laid out as the XDG Base Directory
// Specification has it; a browser can be installed more than once there: by the distribution or its maker, as a
// Flatpak, as a Snap. Nothing but these two classes knows which one a home has.
//
// A layout only looks, and changes nothing. Any thread.
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

  /// As the setting names it, and as states tell it.
  virtual std::string_view name() const = 0;

  /// Whether the operations of WorkerAppDelegate, and its request for folders, are those of this layout.
  virtual bool hasOperations() const = 0;

  /// Whether folders that a browser was told to use when it was started are cleaned as well.
  virtual bool followsArguments() const = 0;

  /// Whether a browser that runs again by the time of the second run is left alone by it.
  virtual bool sparesRunningBrowsers() const = 0;

  /// Whether a request for the browser's folders is answered.
  virtual bool knows(const Browser& browser) const = 0;
  /// Whether anything of the browser can be on such a home.
  virtual bool mayHave(const Browser& browser) const = 0;

  /// The one place of the table, or those that exist.
  virtual std::vector<Installation> installationsOf(const Browser& browser) const = 0;

  /// Where the stores of an installation lie. Reads lists of profiles and lists folders, under the grants.
  virtual StoreFolders storeFoldersOf(const Browser& browser, const Installation& installation) const = 0;

  /// Where plug-ins that are not a browser's own keep what sites left; those that exist.
  virtual std::vector<std::string> pluginFolders() const = 0;

  /// The folders that a browser's cleaning needs, as whole paths, in the order in which they are asked for.
  virtual std::vector<std::string> foldersNeededBy(const Browser& browser) const = 0;

  /// Those without which a browser does not count as allowed.
  virtual std::vector<std::string> foldersToAllow(const Browser& browser) const = 0;
};

}  // namespace tidewell
