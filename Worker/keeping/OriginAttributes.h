// How Firefox and its relatives write down whose data is.
//
// An origin has attributes: "^userContextId=2&partitionKey=%28https%2Cb.test%29" is of a container, and framed in a
// page of b.test. The owner is absent for what has none that could be kept: no site at all, a private window, or a text
// that is none of this. Pure functions of any bytes; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Worker/keeping/Owner.h"

namespace tidewell {

struct OriginAttributes {
  bool isPrivate = false;
  std::optional<std::string> topLevelSite = std::nullopt;
};

/// Of a suffix, with its "^" or without; "" has none. Absent when the text is no such suffix, or names a top-level site
/// that is no host.
std::optional<OriginAttributes> originAttributes(std::string_view suffix);

/// An origin, and its attributes after it: "https://a.test:8443^userContextId=2".
std::optional<Owner> ownerByOrigin(std::string_view origin);

/// The same as a folder's name, with "+" for ":" and "/": "https+++a.test+8443^userContextId=2".
std::optional<Owner> ownerByFolder(std::string_view name);

/// The same as a scope of local storage, with the host's letters in reverse order: "tset.a.:https:443"; attributes can
/// be before it: "0:f:^userContextId=2:tset.a.:https:443".
std::optional<Owner> ownerByScope(std::string_view scope);

}  // namespace tidewell
