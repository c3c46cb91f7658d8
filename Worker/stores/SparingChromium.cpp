// The treatments of Chromium's stores while sites are kept.

#include "Worker/keeping/Host.h"
#include "Worker/keeping/StorageKey.h"
#include "Worker/stores/SparedRows.h"
#include "Worker/stores/SparingTreatments.h"

namespace tidewell::treatments {
namespace {

using Values = std::span<const std::string_view>;

}  // namespace

Outcome removeOtherChromeCookies(const std::string& path, const KeptSites& sites) {
  const auto isKept = [&sites](Values values) {
    if (values[1].empty()) return sites.keepsCookieOf(values[0]);
    const auto topLevelSite = hostOfAddress(values[1]);
    return topLevelSite && sites.keepsCookie(values[0], topLevelSite);
  };
  return keepOnlyRows(path, {{"cookies", {"host_key", "top_frame_site_key"}, isKept}});
}

Outcome removeOtherChromeBounces(const std::string& path, const KeptSites& sites) {
  return keepOnlyRows(path, {{"bounces", {"site"}, [&sites](Values values) { return sites.keepsSite(values[0]); }},
                             {"popups", {"opener_site", "popup_site"}, [&sites](Values values) {
                                return sites.keepsSite(values[0]) && sites.keepsSite(values[1]);
                              }}});
}

}  // namespace tidewell::treatments
