// Whose a piece of data is that a browser keeps: a site's own, or that of a site framed in another one.
#pragma once

#include <optional>
#include <string>

namespace tidewell {

struct Owner {
  std::string host;                                        // in the form of canonicalHost()
  std::optional<std::string> topLevelSite = std::nullopt;  // the host of the site it is framed in; absent for its own
};

}  // namespace tidewell
