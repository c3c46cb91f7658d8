// What browsers write down about whose data is, with any content: no owner but of a plain host, and none is kept that
// the list does not name.

#include <cstdint>
#include <cstdlib>

#include "Worker/keeping/Host.h"
#include "Worker/keeping/KeptSites.h"
#include "Worker/keeping/OriginAttributes.h"
#include "Worker/keeping/StorageKey.h"

namespace {

const tidewell::KeptSites kSites = tidewell::KeptSites::of({"kept.test", "=alone.test"});

void demand(bool isTrue) {
  if (!isTrue) std::abort();
}

bool isInList(const std::string& host) {
  return host == "kept.test" || host.ends_with(".kept.test") || host == "alone.test";
}

void check(const std::optional<tidewell::Owner>& owner) {
  if (!owner) return;
  demand(tidewell::canonicalHost(owner->host) == owner->host);
  demand(!owner->topLevelSite || tidewell::canonicalHost(*owner->topLevelSite) == owner->topLevelSite);
  const bool isKept = isInList(owner->host) && (!owner->topLevelSite || isInList(*owner->topLevelSite));
  demand(kSites.keeps(*owner) == isKept);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  check(tidewell::ownerByStorageKey(text));
  check(tidewell::ownerByIdentifier(text));
  check(tidewell::ownerByOrigin(text));
  check(tidewell::ownerByFolder(text));
  check(tidewell::ownerByScope(text));
  const auto attributes = tidewell::originAttributes(text);
  if (attributes && attributes->topLevelSite) demand(tidewell::canonicalHost(*attributes->topLevelSite).has_value());
  // An entry is one that names itself, and keeps its own host.
  const auto entry = tidewell::KeptSites::canonicalEntry(text);
  if (entry) {
    demand(tidewell::KeptSites::canonicalEntry(*entry) == entry);
    const std::string host = entry->substr(entry->starts_with('=') ? 1 : 0);
    demand(tidewell::KeptSites::of({std::string(text)}).keepsHost(host));
  }
  kSites.keepsCookieOf(text);
  return 0;
}
