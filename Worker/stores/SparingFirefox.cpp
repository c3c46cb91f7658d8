// The treatments of Firefox's stores while sites are kept.

#include "Worker/keeping/Host.h"
#include "Worker/keeping/OriginAttributes.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/stores/FolderEntries.h"
#include "Worker/stores/SparedRows.h"
#include "Worker/stores/SparingTreatments.h"

namespace tidewell::treatments {
namespace {

using Values = std::span<const std::string_view>;

}  // namespace

Outcome removeOtherFirefoxCookies(const std::string& path, const KeptSites& sites) {
  const auto isKept = [&sites](Values values) {
    const auto attributes = originAttributes(values[1]);
    return attributes && !attributes->isPrivate && sites.keepsCookie(values[0], attributes->topLevelSite);
  };
  return keepOnlyRows(path, {{"moz_cookies", {"host", "originAttributes"}, isKept}});
}

Outcome removeOtherFirefoxBounces(const std::string& path, const KeptSites& sites) {
  const auto isKept = [&sites](Values values) {
    const auto attributes = originAttributes(values[1]);
    return attributes && !attributes->isPrivate && sites.keepsSite(values[0]) &&
           (!attributes->topLevelSite || sites.keepsSite(*attributes->topLevelSite));
  };
  return keepOnlyRows(path, {{"sites", {"siteHost", "originAttributeSuffix"}, isKept}});
}

Outcome removeOtherFirefoxSites(const std::string& path, const KeptSites& sites) {
  return removeEntriesUnless(path, [&sites](const std::string& name) {
    const auto owner = ownerByFolder(name);
    return name.starts_with(kFirefoxExtension) || (owner && sites.keeps(*owner));
  });
}

Outcome removeFromStorageIndex(const std::string& path, const KeptSites& sites) {
  const auto isKept = [&sites](Values values) {
    const auto owner = ownerByOrigin(values[0]);
    return owner && sites.keeps(*owner);
  };
  return GrantedFiles::changeDatabase(
      {"DELETE FROM origin WHERE origin NOT LIKE 'moz-extension://%' AND NOT is_kept(origin);"}, path,
      {{"is_kept", isKept}});
}

Outcome deleteOtherScopes(const std::string& path, const KeptSites& sites) {
  const auto isKept = [&sites](Values values) {
    const auto owner = ownerByScope(values[0]);
    return owner && sites.keeps(*owner);
  };
  return GrantedFiles::changeDatabase(
      {"DELETE FROM webappsstore2 WHERE instr(scope, '.:') > 0 AND NOT is_kept(scope);"}, path, {{"is_kept", isKept}});
}

Outcome removeOtherContentPreferences(const std::string& path, const KeptSites& sites) {
  const auto isKept = [&sites](Values values) {
    const auto host = hostOfAddress(values[0]);
    return sites.keepsHost(host ? std::string_view(*host) : values[0]);
  };
  return GrantedFiles::changeDatabase(
      {"DELETE FROM groups WHERE NOT is_kept(name);",
       "DELETE FROM prefs WHERE groupID IS NOT NULL AND groupID NOT IN (SELECT id FROM groups);"},
      path, {{"is_kept", isKept}});
}

}  // namespace tidewell::treatments
