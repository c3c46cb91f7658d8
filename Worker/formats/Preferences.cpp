#include "Worker/formats/Preferences.h"

#include <algorithm>
#include <array>

#include "Worker/formats/JsonParts.h"
#include "Worker/keeping/Host.h"

namespace tidewell {
namespace {

/// How a place in the settings names its sites.
enum class Naming {
  kPatterns,   // members, at any depth: "https://a.test,*", "[*.]a.test,https://b.test:81"
  kHosts,      // members: "a.test", but also "settings" for the browser's own page, and extensions' identifiers
  kAddresses,  // members and elements with the address of a site anywhere in them
  kAny,        // every member and every element is about a site
};

struct Place {
  std::string_view path;  // names joined by dots, "*" for any one
  Naming naming;
  bool isSetting = false;  // which the person may keep
};

constexpr std::array kPlaces{
    // Permissions, client hints, engagement, certificate decisions: all kinds of notes, present and future.
    Place{"profile.content_settings", Naming::kPatterns, true},
    // Zoom levels, by storage partition and host.
    Place{"partition.per_host_zoom_levels.*", Naming::kHosts, true},
    // Sites that offered to handle a scheme such as "mailto", and were allowed to or refused.
    Place{"custom_handlers.registered_protocol_handlers", Naming::kAddresses, true},
    Place{"custom_handlers.ignored_protocol_handlers", Naming::kAddresses, true},
    // Sites that may open other programs without asking: origin, then schemes.
    Place{"protocol_handler.allowed_origin_protocol_pairs", Naming::kAddresses, true},
    // Push messages: subscriptions by an identifier with the origin in it, and subscriptions that have ended.
    Place{"gcm.push_messaging_application_id_map", Naming::kAddresses},
    Place{"gcm.push_messaging_unsubscribed_entries_list", Naming::kAddresses},
    // Sites in which the person has signed in, and which get a process of their own for that.
    Place{"site_isolation.user_triggered_isolated_origins", Naming::kAny},
    Place{"site_isolation.web_triggered_isolated_origins", Naming::kAny},
    Place{"login_detection.oauth_signed_in_origins", Naming::kAny},
    // Pages on which the address bar asked for suggestions: address of the page, then the answer.
    Place{"zerosuggest.cachedresults_with_url", Naming::kAny},
    // Minutes of use today of pages that are installed as applications, by start address.
    Place{"web_apps.daily_metrics", Naming::kAddresses},
    // Sites that the person has shared pages with, by address.
    Place{"profile.web_share.visited_targets", Naming::kAddresses},
    // Sites where a password was typed that is used elsewhere, by origin.
    Place{"safebrowsing.unhandled_sync_password_reuses", Naming::kAny},
    // Sites for which protected media made an identifier, by origin.
    Place{"media.cdm.origin_data", Naming::kAny},
    // Sites that must not join advertising groups, by domain.
    Place{"privacy_sandbox.fledge_join_blocked", Naming::kAny},
    // Sites that were reloaded because a protection broke them.
    Place{"fingerprinting_protection_filter.refresh_heuristic_breakage_exception_sites", Naming::kAny},
    // Hosts for which hints on loading were fetched.
    Place{"optimization_guide.hintsfetcher.hosts_successfully_fetched", Naming::kAny},
    // Sites that are never translated, in today's form and in the two before it.
    Place{"translate_site_blocklist_with_time", Naming::kAny},
    Place{"translate_site_blocklist", Naming::kAny},
    Place{"translate_site_blacklist", Naming::kAny},
    // Sites that are never put to sleep, in today's form and in the one before it.
    Place{"performance_tuning.tab_discarding.exceptions_with_time", Naming::kAny},
    Place{"performance_tuning.tab_discarding.exceptions", Naming::kAny},
    // Sites on which no help with writing is offered.
    Place{"compose.proactive_nudge_disabled_sites_with_time", Naming::kAny},
    // Sites that were taken off the list of the most visited ones, by a digest of the address.
    Place{"ntp.most_visited_blacklist", Naming::kAny},
};

/// The kinds of content settings that nobody has made: what the browser has noted about sites.
constexpr std::array<std::string_view, 33> kNotes{"abusive_notification_permissions",
                                                  "app_banner",
                                                  "are_suspicious_notifications_allowlisted_by_user",
                                                  "client_hints",
                                                  "cookie_controls_metadata",
                                                  "disruptive_notification_permissions",
                                                  "fedcm_idp_registration",
                                                  "fedcm_idp_signin",
                                                  "fedcm_share",
                                                  "file_system_last_picked_directory",
                                                  "formfill_metadata",
                                                  "https_enforced",
                                                  "important_site_info",
                                                  "initialized_translations",
                                                  "inline_cue_menu",
                                                  "intent_picker_auto_display",
                                                  "media_engagement",
                                                  "notification_interactions",
                                                  "notification_permission_review",
                                                  "ondevice_languages_downloaded",
                                                  "password_protection",
                                                  "permission_actions_history",
                                                  "permission_autoblocking_data",
                                                  "permission_autorevocation_data",
                                                  "reduced_accept_language",
                                                  "safe_browsing_url_check_data",
                                                  "site_engagement",
                                                  "subresource_filter_data",
                                                  "suspicious_notification_ids",
                                                  "suspicious_notification_show_original",
                                                  "suspicious_site_warning_data",
                                                  "unused_site_permissions",
                                                  "webid_auto_reauthn"};

/// Pages of the browser that can be zoomed; their levels are stored among those of sites.
constexpr std::array<std::string_view, 10> kOwnPages{"settings",     "history",         "extensions", "downloads",
                                                     "bookmarks",    "newtab",          "flags",      "version",
                                                     "new-tab-page", "password-manager"};

bool isExtension(std::string_view host) {
  return host.size() == 32 && std::all_of(host.begin(), host.end(), [](char c) { return c >= 'a' && c <= 'p'; });
}

/// Whether a pattern is about a site: "https://a.test:443", "[*.]a.test", "a.test:80"; not "*", "http://*:80" and not
/// "chrome-extension://…", "chrome://…", "file:///…".
bool patternNamesSite(std::string_view pattern) {
  constexpr std::array<std::string_view, 6> kSchemesOfSites{"http", "https", "ws", "wss", "ftp", "*"};
  constexpr std::string_view kSchemeEnd = "://";
  if (const auto end = pattern.find(kSchemeEnd); end != std::string_view::npos) {
    const auto scheme = pattern.substr(0, end);
    if (std::find(kSchemesOfSites.begin(), kSchemesOfSites.end(), scheme) == kSchemesOfSites.end()) return false;
    pattern.remove_prefix(end + kSchemeEnd.size());
  }
  if (!pattern.empty() && pattern.front() == '[') return true;  // "[*.]a.test", "[::1]"
  const std::string_view host = pattern.substr(0, pattern.find_first_of(":/"));
  return !host.empty() && host != "*";
}

bool isPatternPair(std::string_view name) {
  constexpr std::size_t kLongestPattern = 1024;  // bytes; or a long name would be searched for each part below it
  return name.substr(0, kLongestPattern).find(',') != std::string_view::npos;
}

/// Whether the name is a pair of patterns (of the page, and of the page around it), or one alone, and is about a site.
bool patternsNameSite(std::string_view name) {
  // The last comma: the path of a local file can have others.
  if (const auto comma = name.rfind(','); comma != std::string_view::npos) {
    return patternNamesSite(name.substr(0, comma)) || patternNamesSite(name.substr(comma + 1));
  }
  const bool isPattern = name.find("://") != std::string_view::npos || name.substr(0, 4) == "[*.]";
  return isPattern && patternNamesSite(name);
}

bool hostIsSite(std::string_view host) {
  return patternNamesSite(host) && !isExtension(host) &&
         std::find(kOwnPages.begin(), kOwnPages.end(), host) == kOwnPages.end();
}

bool hasAddress(std::string_view text) {
  return text.find("http://") != std::string_view::npos || text.find("https://") != std::string_view::npos;
}

/// The number of names in the place's path, if it leads to something around this part; else 0.
std::size_t depthBelow(std::string_view place, const std::vector<std::string>& path) {
  for (std::size_t depth = 0; depth + 1 < path.size(); ++depth) {
    const auto dot = place.find('.');
    if (const auto name = place.substr(0, dot); name != "*" && name != path[depth]) return 0;
    if (dot == std::string_view::npos) return depth + 1;
    place.remove_prefix(dot + 1);
  }
  return 0;
}

/// Whether the part lies inside an entry that is named by a pair of patterns: entries stay or go as a whole.
bool isInsideEntry(const std::vector<std::string>& path, std::size_t depth) {
  return std::any_of(path.begin() + static_cast<std::ptrdiff_t>(depth), path.end() - 1, isPatternPair);
}

/// The host of a pattern: "a.test" of "https://a.test:443" and "[*.]a.test".
std::string_view hostOfPattern(std::string_view pattern) {
  constexpr std::string_view kAllBelow = "[*.]";
  if (const auto scheme = pattern.find("://"); scheme != std::string_view::npos) pattern.remove_prefix(scheme + 3);
  if (pattern.starts_with(kAllBelow)) pattern.remove_prefix(kAllBelow.size());
  if (pattern.starts_with('[')) return pattern.substr(0, pattern.find(']') + 1);
  return pattern.substr(0, pattern.find_first_of(":/"));
}

/// Whether a pair of patterns is about a kept site, everywhere or in kept ones, or a single pattern about a kept site.
bool patternsNameKeptSite(std::string_view name, const KeptSites& sites) {
  const auto comma = name.rfind(',');
  if (!sites.keepsHost(hostOfPattern(name.substr(0, comma)))) return false;
  const std::string_view around = comma == std::string_view::npos ? "*" : name.substr(comma + 1);
  return around == "*" || sites.keepsSite(hostOfPattern(around));
}

/// Whether there are addresses in a text, and all of them are of kept sites.
bool addressesAreKept(std::string_view text, const KeptSites& sites) {
  bool hasAny = false;
  for (std::size_t at = text.find("http"); at != std::string_view::npos; at = text.find("http", at + 1)) {
    const std::string_view address = text.substr(at, text.find_first_of("\"\\, ", at) - at);
    if (!address.starts_with("http://") && !address.starts_with("https://")) continue;
    const auto host = hostOfAddress(address);
    if (!host || !sites.keepsHost(*host)) return false;
    hasAny = true;
  }
  return hasAny;
}

/// Whether an entry in a place is about a kept site, which stays with all that was set for it.
bool isOfKeptSite(const Place& place, const JsonPart& part, const KeptSites& sites) {
  if (!place.isSetting || sites.isEmpty()) return false;
  const std::string& name = part.path.back();
  if (place.naming == Naming::kPatterns) return patternsNameKeptSite(name, sites);
  if (place.naming == Naming::kHosts) return sites.keepsHost(name);
  return addressesAreKept(name.empty() ? part.before : name, sites);
}

/// Whether an entry in a place is one that stays: `path` leads to it, and `depth` is the number of the place's names.
bool isKept(const Place& place, const std::vector<std::string>& path, std::size_t depth, const Kept& kept) {
  if (!place.isSetting) return false;
  if (place.naming != Naming::kPatterns) return kept.siteSettings;
  // "profile", "content_settings", "exceptions", the kind, then the entry
  if (path.size() < depth + 3 || path[depth] != "exceptions") return false;
  const std::string& kind = path[depth + 1];
  if (kind == "cookies") return kept.cookieRules || kept.siteSettings;
  return kept.siteSettings && std::find(kNotes.begin(), kNotes.end(), kind) == kNotes.end();
}

bool goes(const JsonPart& part, const Kept& kept) {
  constexpr std::size_t kDeepestEntry = 8;  // none is below 5; keeps hostile nesting from taking time
  if (part.path.size() < 2 || part.path.size() > kDeepestEntry) return false;
  for (const Place& place : kPlaces) {
    const std::size_t depth = depthBelow(place.path, part.path);
    if (depth == 0) continue;
    const std::string& name = part.path.back();
    if (isKept(place, part.path, depth, kept) || isOfKeptSite(place, part, kept.sites)) return false;
    if (place.naming == Naming::kPatterns) return patternsNameSite(name) && !isInsideEntry(part.path, depth);
    if (part.path.size() != depth + 1) return false;
    if (place.naming == Naming::kHosts) return hostIsSite(name);
    if (place.naming == Naming::kAddresses) return hasAddress(name) || hasAddress(part.before);
    return true;
  }
  return false;
}

}  // namespace

Rewriting withoutSites(std::string_view preferences, const Kept& kept) {
  auto rest = withoutParts(preferences, [&kept](const JsonPart& part) { return goes(part, kept); });
  if (!rest || rest->size() == preferences.size()) return Rewriting::leave();
  return Rewriting::replaceBy(std::move(*rest));
}

}  // namespace tidewell
