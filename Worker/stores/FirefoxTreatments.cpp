// The treatments of stores that only Firefox and its relatives have, beyond those in Treatments.cpp.

#include <map>
#include <string>
#include <vector>

#include "Platform/Path.h"
#include "Worker/Identity.h"
#include "Worker/keeping/OriginAttributes.h"
#include "Worker/sandbox/GrantedFiles.h"
#include "Worker/stores/Treatments.h"

namespace tidewell::treatments {

using platform::appendingPathComponent;

namespace {

using Values = std::span<const std::string_view>;

/// The kind of a permission can name a second site, which it is about: "3rdPartyStorage^https://b.test".
bool isKeptInside(std::string_view kind, const KeptSites& sites) {
  const std::size_t mark = kind.find('^');
  if (mark == std::string_view::npos) return true;
  const auto owner = ownerByOrigin(kind.substr(mark + 1));
  return owner && sites.keepsSite(owner->host);
}

SqlPredicates predicatesOnPermissions(const KeptSites& sites) {
  const auto originIsKept = [&sites](Values values) {
    const auto owner = ownerByOrigin(values[0]);
    return owner && sites.keeps(*owner) && (values.size() == 1 || isKeptInside(values[1], sites));
  };
  return {{"origin_is_kept", originIsKept},
          {"host_is_kept", [&sites](Values values) { return sites.keepsHost(values[0]); }}};
}

}  // namespace

Outcome removeMediaLicences(const std::string& path) {
  // "gmp/Linux_x86_64-gcc3/gmp-widevinecdm/id/…": platform, plug-in, then a folder for each site in these two.
  Outcome outcome;
  if (!GrantedFiles::isDirectory(path)) return outcome;
  for (const std::string& platform : GrantedFiles::entriesOf(path)) {
    const std::string plugins = appendingPathComponent(path, platform);
    if (!GrantedFiles::isDirectory(plugins)) continue;
    for (const std::string& plugin : GrantedFiles::entriesOf(plugins)) {
      for (const char* folder : {"id", "storage"}) {
        outcome += removeEntries(appendingPathComponent(appendingPathComponent(plugins, plugin), folder));
      }
    }
  }
  return outcome;
}

Outcome cleanPermissions(const std::string& path, const Kept& kept) {
  const std::string rules = kept.cookieRules || kept.siteSettings ? "'cookie', 'persist-data-on-shutdown'" : "";
  // What the browser has noted by itself: which sites may see their cookies in which others.
  const std::string notes = "(type GLOB '3rdParty*' OR type GLOB 'storageAccess*' OR type GLOB 'AllowStorageAccess*')";
  const std::string isSites = "substr(origin, 1, 16) <> 'moz-extension://'";
  const std::string goes = "type NOT IN (" + rules + ")" + (kept.siteSettings ? " AND " + notes : "");
  std::map<std::string, std::string, std::less<>> conditions = {
      {"moz_perms", isSites + " AND " + goes}, {"moz_origin_interactions", isSites}, {"moz_hosts", goes}};
  SqlPredicates predicates;
  if (!kept.sites.isEmpty()) {
    predicates = predicatesOnPermissions(kept.sites);
    conditions["moz_perms"] += " AND NOT origin_is_kept(origin, type)";
    conditions["moz_origin_interactions"] += " AND NOT origin_is_kept(origin)";
    conditions["moz_hosts"] += " AND NOT host_is_kept(host)";
  }
  // Not every version has all of these tables.
  Left left = Left::kNothing;
  const auto tables = GrantedFiles::rowsOf("SELECT name FROM sqlite_master WHERE type = 'table';", path, left);
  if (!tables) return {left};
  std::vector<std::string> statements;
  for (std::size_t row = 0; row < tables->size(); ++row) {
    const auto condition = conditions.find((*tables)[row].stringForKey("name").value_or(""));
    if (condition == conditions.end()) continue;
    statements.push_back("DELETE FROM " + condition->first + " WHERE " + condition->second + ";");
  }
  return GrantedFiles::changeDatabase(statements, path, predicates);
}

Outcome deletePushSubscriptions(const std::string& path) {
  // The browser's own database in the form of IndexedDB. Its index "identifiers" has the scope of each subscription:
  // of a site an address, in which each byte is greater by one ("iuuq" for "http").
  static constexpr char kOfSites[] =
      "IN (SELECT object_data_key FROM unique_index_data WHERE instr(value, x'69757571') > 0 AND index_id IN"
      " (SELECT id FROM object_store_index WHERE name = 'identifiers'))";
  Left left = Left::kNothing;
  const auto rows =
      GrantedFiles::rowsOf(std::string("SELECT 1 FROM object_data WHERE key ") + kOfSites + " LIMIT 1;", path, left);
  if (!rows) return {left};
  if (rows->empty()) return GrantedFiles::remove(path + kAsideSuffix);  // left by a worker that was killed
  return GrantedFiles::changeDatabase({std::string("DELETE FROM object_data WHERE key ") + kOfSites,
                                       "DELETE FROM index_data WHERE object_data_key NOT IN"
                                       " (SELECT key FROM object_data);",
                                       "DELETE FROM unique_index_data WHERE object_data_key NOT IN"
                                       " (SELECT key FROM object_data);"},
                                      path);
}

}  // namespace tidewell::treatments
