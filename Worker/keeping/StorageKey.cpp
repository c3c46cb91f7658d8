#include "Worker/keeping/StorageKey.h"

#include <algorithm>

#include "Worker/keeping/Host.h"

namespace tidewell {

std::optional<Owner> ownerByStorageKey(std::string_view key) {
  // What follows the first "^": "0" a top-level site, "3" that a page of another site is around it; others are of
  // nonces and of opaque sites.
  constexpr std::string_view kTopLevelSite = "0";
  constexpr std::string_view kOtherSiteAround = "31";
  const std::size_t mark = key.find('^');
  auto host = hostOfAddress(key.substr(0, mark));
  if (!host) return std::nullopt;
  Owner owner{std::move(*host)};
  if (mark == std::string_view::npos) return owner;
  const std::string_view partition = key.substr(mark + 1);
  if (partition == kOtherSiteAround) return owner;
  if (!partition.starts_with(kTopLevelSite) || partition.find('^') != std::string_view::npos) return std::nullopt;
  owner.topLevelSite = hostOfAddress(partition.substr(kTopLevelSite.size()));
  return owner.topLevelSite ? std::optional(std::move(owner)) : std::nullopt;
}

std::optional<Owner> ownerByIdentifier(std::string_view identifier) {
  const std::size_t first = identifier.find('_');
  const std::size_t last = identifier.rfind('_');
  if (first == std::string_view::npos || first == last) return std::nullopt;
  const std::string_view port = identifier.substr(last + 1);
  const bool isPort = !port.empty() && port.find_first_not_of("0123456789") == std::string_view::npos;
  if (!isPort) return std::nullopt;
  std::string host(identifier.substr(first + 1, last - first - 1));
  if (host.starts_with('[')) std::replace(host.begin(), host.end(), '_', ':');
  auto found = hostOfAddress(std::string(identifier.substr(0, first)) + "://" + host);
  return found ? std::optional(Owner{std::move(*found)}) : std::nullopt;
}

}  // namespace tidewell
