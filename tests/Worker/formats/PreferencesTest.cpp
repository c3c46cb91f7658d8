// Removing sites' data from Chromium's settings. The samples were written by Chromium 156, and shortened.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <random>

#include "Worker/formats/Preferences.h"

namespace {

using nlohmann::ordered_json;
using tidewell::Rewriting;
using tidewell::withoutSites;
using Action = tidewell::Rewriting::Action;

// Settings of a user who has visited sites, zoomed pages of all kinds, and decided about permissions.
constexpr char kVisited[] =
    R"({"account_tracker_service_last_update":"13439727171255463","bookmark":{"storage_computation_last_update":"1"},)"
    R"("custom_handlers":{"enabled":true,"ignored_protocol_handlers":[{"is_confirmed":true,"protocol":"web+xyz",)"
    R"("url":"https://a.test:9443/h?u=%s"},{"protocol":"mailto","url":"chrome-extension://abc/m?u=%s"}],)"
    R"("registered_protocol_handlers":[{"protocol":"mailto","url":"http://b.test/?u=%s"}]},)"
    R"("extensions":{"settings":{"ddolmdhhabkhdfpbkcimbohdnjommfei":{"active_permissions":{"explicit_host":)"
    R"(["https://a.test/*"]},"https://a.test,*":1}}},"homepage":"https://home.a.test/","partition":)"
    R"({"per_host_zoom_levels":{"x":{"[::1]":{"zoom_level":0.5227586988632231},"a.test":{"zoom_level":)"
    R"(1.2239010857415449},"ddolmdhhabkhdfpbkcimbohdnjommfei":{"zoom_level":0.5227586988632231},)"
    R"("file:///tmp/page.html?state":{"zoom_level":-1.0},"history":{"zoom_level":1},"localhost":{"zoom_level":1},)"
    R"("settings":{"zoom_level":0.5227586988632231},"wiki":{"zoom_level":1}}}},"profile":{"avatar_index":26,)"
    R"("content_settings":{"exceptions":{"ar":{},"client_hints":{"http://[::1]:9080,*":{"setting":{"client_hints":[1]}}},)"
    R"("cookies":{"*,https://a.test:9443":{"setting":1},"[*.]b.test,*":{"setting":1},"*,*":{"setting":4},)"
    R"("[*.]c.test,https://a.test:9443":{"setting":2}},"has_migrated_local_network_access":true,"images":)"
    R"({"127.0.0.1,*":{"setting":2},"[::1],*":{"setting":2},"a.test:9443,*":{"setting":2},"http://*:9080,*":)"
    R"({"setting":2}},"notifications":{"chrome-extension://aaaabbbbccccddddeeeeffffgggghhhh/,*":{"last_modified":)"
    R"("13439727463444000","setting":1},"file:///tmp/x,y.html,*":{"setting":1},"https://a.test:9443,*":{"setting":1}},)"
    R"("site_engagement":{"chrome://settings/,*":{"setting":{"lastEngagementTime":1.3439727188776732e+16,"rawScore":)"
    R"(10.5}},"http://a.test:9080,*":{"setting":{"rawScore":3.0}}}},"pref_version":1}},"session":{"restore_on_startup":4,)"
    R"("startup_urls":["https://startup.a.test/"]},"translate_site_blocklist_with_time":{"a.test":"1"}})";

constexpr char kCleaned[] =
    R"({"account_tracker_service_last_update":"13439727171255463","bookmark":{"storage_computation_last_update":"1"},)"
    R"("custom_handlers":{"enabled":true,"ignored_protocol_handlers":[)"
    R"({"protocol":"mailto","url":"chrome-extension://abc/m?u=%s"}],)"
    R"("registered_protocol_handlers":[]},)"
    R"("extensions":{"settings":{"ddolmdhhabkhdfpbkcimbohdnjommfei":{"active_permissions":{"explicit_host":)"
    R"(["https://a.test/*"]},"https://a.test,*":1}}},"homepage":"https://home.a.test/","partition":)"
    R"({"per_host_zoom_levels":{"x":{)"
    R"("ddolmdhhabkhdfpbkcimbohdnjommfei":{"zoom_level":0.5227586988632231},)"
    R"("file:///tmp/page.html?state":{"zoom_level":-1.0},"history":{"zoom_level":1},)"
    R"("settings":{"zoom_level":0.5227586988632231}}}},"profile":{"avatar_index":26,)"
    R"("content_settings":{"exceptions":{"ar":{},"client_hints":{},)"
    R"("cookies":{"*,*":{"setting":4}},"has_migrated_local_network_access":true,"images":{"http://*:9080,*":)"
    R"({"setting":2}},"notifications":{"chrome-extension://aaaabbbbccccddddeeeeffffgggghhhh/,*":{"last_modified":)"
    R"("13439727463444000","setting":1},"file:///tmp/x,y.html,*":{"setting":1}},)"
    R"("site_engagement":{"chrome://settings/,*":{"setting":{"lastEngagementTime":1.3439727188776732e+16,"rawScore":)"
    R"(10.5}}}},"pref_version":1}},"session":{"restore_on_startup":4,)"
    R"("startup_urls":["https://startup.a.test/"]},"translate_site_blocklist_with_time":{}})";

void expectLeft(std::string_view preferences) {
  const Rewriting answer = withoutSites(preferences);
  EXPECT_EQ(answer.action, Action::kLeave) << preferences;
  EXPECT_EQ(answer.contents, "");
}

/// Settings with one more member, at the place of a JSON pointer.
std::string with(const std::string& pointer, const ordered_json& value) {
  ordered_json settings = {{"homepage", "https://a.test/"}};
  settings[ordered_json::json_pointer(pointer)] = value;
  return settings.dump();
}

/// What is left of the value at that place after the rewriting.
ordered_json rest(const std::string& pointer, const ordered_json& value) {
  const std::string before = with(pointer, value);
  const Rewriting answer = withoutSites(before);
  if (answer.action != Action::kReplace) return value;
  const ordered_json after = ordered_json::parse(answer.contents);
  EXPECT_EQ(after["homepage"], "https://a.test/");
  return after.at(ordered_json::json_pointer(pointer));
}

TEST(Preferences, loseWhatSitesHaveLeftAndNothingElse) {
  const Rewriting answer = withoutSites(kVisited);
  EXPECT_EQ(answer.action, Action::kReplace);
  EXPECT_EQ(answer.contents, kCleaned);
}

TEST(Preferences, areLeftByASecondPass) {
  expectLeft(kCleaned);
}

TEST(Preferences, loseNotesOfAnyKindThatAreKeptByPatterns) {
  const std::string settings = "/profile/content_settings";
  for (const std::string kind : {"/exceptions/popups", "/exceptions/kind_of_tomorrow", "/pattern_pairs",
                                 "/partitioned_exceptions/cookies", "/partitioned_exceptions/cookies/partition"}) {
    for (const char* name :
         {"https://a.test:443,*", "http://a.test,*", "https://a.test,https://b.test", "[*.]a.test,*", "*,[*.]a.test",
          "a.test,*", "a.test:80,*", "localhost,*", "127.0.0.1,*", "[::1],*", "https://[*.]a.test:443,*",
          "wss://a.test,*", "ws://a.test,*", "*://a.test:80,*", "https://a.test", "[*.]a.test",
          "chrome-extension://abc/,https://a.test", "https://a.test,chrome-extension://abc/", "ftp://a.test,*"}) {
      EXPECT_EQ(rest(settings + kind, {{name, {{"setting", 1}}}}), ordered_json::object()) << kind << " " << name;
    }
  }
}

TEST(Preferences, keepNotesAboutExtensionsTheBrowserAndFiles) {
  for (const char* name : {"*",
                           "*,*",
                           "",
                           ",",
                           "http://*,*",
                           "https://*:443,*",
                           "*:80,*",
                           "chrome-extension://abc/,*",
                           "chrome://settings/,*",
                           "devtools://devtools,*",
                           "chrome-untrusted://page/,*",
                           "chrome-search://x,*",
                           "file:///tmp/x.html,*",
                           "file:///tmp/a,b,c.html,*",
                           "file:///*,*",
                           "isolated-app://abc/,*",
                           "chrome-extension://abc/",
                           "chrome-extension://abc/,chrome-extension://def/",
                           "pref_version",
                           "a.test"}) {
    expectLeft(with("/profile/content_settings/exceptions/popups", {{name, {{"setting", 1}}}}));
  }
}

TEST(Preferences, keepAllInsideAnExtensionsEntry) {
  expectLeft(
      with("/profile/content_settings/exceptions/usb_chooser_data",
           {{"chrome-extension://abc/,*", {{"https://a.test,*", 1}, {"https://a.test", {{"[*.]b.test,*", 2}}}}}}));
}

TEST(Preferences, keepPatternsElsewhere) {
  for (const char* place : {"/extensions/settings", "/profile", "/profile/content_setting",
                            "/x/profile/content_settings", "/content_settings/exceptions"}) {
    expectLeft(with(place, {{"https://a.test,*", {{"setting", 1}}}}));
  }
  expectLeft(with("/profile/content_settings/exceptions/popups", {{{"pattern", "https://a.test,*"}}}));
}

TEST(Preferences, loseZoomLevelsOfHostsInEveryPartition) {
  for (const char* partition : {"/x", "/12345"}) {
    const std::string place = std::string("/partition/per_host_zoom_levels") + partition;
    for (const char* host : {"a.test", "localhost", "wiki", "127.0.0.1", "[::1]", "abcdefghijklmnopabcdefghijklmnoq"}) {
      EXPECT_EQ(rest(place, {{host, {{"zoom_level", 1}}}}), ordered_json::object()) << host;
    }
    for (const char* page : {"settings", "history", "", "abcdefghijklmnopabcdefghijklmnop", "file:///tmp/a.test"}) {
      expectLeft(with(place, {{page, {{"zoom_level", 1}}}}));
    }
  }
  expectLeft(with("/partition/default_zoom_level", {{"x", 1.5}}));
}

TEST(Preferences, loseEntriesWithAddressesOfSites) {
  const ordered_json members = {{"wp:https://a.test/#1", "https://a.test/#0"},
                                {"https://a.test", {{"mailto", true}}},
                                {"other", {{"origin", "http://a.test"}}}};
  const ordered_json others = {{"wp:chrome-extension://abc/#1", "chrome-extension://abc/#0"}, {"none", 1}};
  ordered_json all = others;
  all.update(members);
  for (const char* place : {"/gcm/push_messaging_application_id_map", "/gcm/push_messaging_unsubscribed_entries_list",
                            "/protocol_handler/allowed_origin_protocol_pairs", "/web_apps/daily_metrics",
                            "/profile/web_share/visited_targets"}) {
    EXPECT_EQ(rest(place, all), others) << place;
    expectLeft(with(place, others));
  }
  EXPECT_EQ(rest("/gcm/push_messaging_unsubscribed_entries_list", {"https://a.test/", "chrome-extension://abc/"}),
            ordered_json({"chrome-extension://abc/"}));
}

TEST(Preferences, loseListsThatAreAboutSitesAlone) {
  for (const char* place :
       {"/site_isolation/user_triggered_isolated_origins", "/site_isolation/web_triggered_isolated_origins",
        "/login_detection/oauth_signed_in_origins", "/zerosuggest/cachedresults_with_url",
        "/safebrowsing/unhandled_sync_password_reuses", "/media/cdm/origin_data",
        "/privacy_sandbox/fledge_join_blocked",
        "/fingerprinting_protection_filter/refresh_heuristic_breakage_exception_sites",
        "/optimization_guide/hintsfetcher/hosts_successfully_fetched", "/translate_site_blocklist_with_time",
        "/translate_site_blocklist", "/translate_site_blacklist",
        "/performance_tuning/tab_discarding/exceptions_with_time", "/performance_tuning/tab_discarding/exceptions",
        "/compose/proactive_nudge_disabled_sites_with_time", "/ntp/most_visited_blacklist"}) {
    EXPECT_EQ(rest(place, {{"a.test", "1"}, {"b.test", {{"x", nullptr}}}}), ordered_json::object()) << place;
    EXPECT_EQ(rest(place, {"a.test", "http://b.test"}), ordered_json::array()) << place;
    expectLeft(with(place, "a.test"));
  }
}

TEST(Preferences, keepWhatThePersonHasChosen) {
  for (const char* place : {"/homepage", "/session/startup_urls", "/pinned_tabs", "/custom_links/list", "/bookmarks",
                            "/default_search_provider_data/template_url_data", "/profile/managed/manual_urls"}) {
    expectLeft(with(place, {{"url", "https://a.test/"}, {"https://a.test", "https://a.test/"}}));
  }
}

TEST(Preferences, keepNumbersAndStringsAsTheyAre) {
  const std::string settings =
      R"({"a":18446744073709551615,"b":-9223372036854775808,"c":0.1000000000000000055511151231257827,"d":1E+2,"e":-0.0,)"
      R"("f":123456789012345678901234567890,"g":"\u003C\/\u00e9é\ud83d\ude00","translate_site_blocklist":[)";
  EXPECT_EQ(withoutSites(settings + "\"a.test\"]}").contents, settings + "]}");
}

TEST(Preferences, areLeftWhenTheyAreNoJSON) {
  const std::string text = kVisited;
  for (const std::string& damaged : {std::string(), text + "}", text.substr(1), text + std::string(1, '\0'),
                                     "\xff" + text, std::string(text).replace(text.find("a.test"), 1, "\xff")}) {
    expectLeft(damaged);
  }
  for (std::size_t length = 0; length < text.size(); ++length) expectLeft(text.substr(0, length));
}

TEST(Preferences, areLeftWhenTheyAreOfAnotherShape) {
  for (const char* text :
       {"null", "[]", "\"https://a.test,*\"", "[{\"profile\":{}}]", R"({"profile":[{"content_settings":1}]})",
        R"({"profile":{"content_settings":["https://a.test,*"]}})",
        R"({"partition":{"per_host_zoom_levels":{"a.test":1}}})"}) {
    expectLeft(text);
  }
}

TEST(Preferences, mayBeNestedUpToABound) {
  std::string deep;
  for (int count = 0; count < 100'000; ++count) deep += "{\"profile\":";
  expectLeft(deep);
  expectLeft(deep + "1" + std::string(100'000, '}'));
  const auto listed = [](std::size_t depth) {
    return R"({"translate_site_blocklist":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  EXPECT_EQ(withoutSites(listed(500)).contents, R"({"translate_site_blocklist":[]})");
  expectLeft(listed(100'000));
}

TEST(Preferences, areWellFormedAfterAnyChange) {
  std::mt19937 random(7);  // NOLINT: a fixed seed, for the same changes each time
  for (int round = 0; round < 3000; ++round) {
    std::string text = kVisited;
    for (int change = 0; change < 3; ++change) {
      const std::size_t at = random() % text.size();
      if (random() % 2 == 0) {
        text[at] = static_cast<char>(random());
      } else {
        text.erase(at, random() % 40);
      }
    }
    const Rewriting answer = withoutSites(text);
    if (answer.action == Action::kLeave) continue;
    EXPECT_TRUE(ordered_json::accept(answer.contents)) << text;
    expectLeft(answer.contents);
  }
}

const tidewell::Kept kRules{.cookieRules = true};
const tidewell::Kept kAll{.cookieRules = true, .siteSettings = true};

TEST(Preferences, keepTheRulesOnCookiesWhereThatIsWanted) {
  const std::string rules = R"({"profile":{"content_settings":{"exceptions":{"cookies":{"[*.]a.test,*":{"setting":2}})";
  EXPECT_EQ(withoutSites(rules + "}}}}", kRules).action, Rewriting::Action::kLeave);
  EXPECT_EQ(withoutSites(rules + R"(,"images":{"[*.]a.test,*":{"setting":2}}}}}})", kRules).contents,
            rules + R"(,"images":{}}}}})");
  EXPECT_EQ(withoutSites(rules + "}}}}").action, Rewriting::Action::kReplace) << "not wanted";
}

TEST(Preferences, keepSettingsOfSitesAndNotWhatTheBrowserHasNotedWhereThatIsWanted) {
  const std::string settings =
      R"({"custom_handlers":{"registered_protocol_handlers":[{"url":"https://a.test/%s"}]},"partition":)"
      R"({"per_host_zoom_levels":{"x":{"a.test":{"zoom_level":1}}}},"profile":{"content_settings":{"exceptions":{)"
      R"("geolocation":{"https://a.test:443,*":{"setting":1}},"ssl_cert_decisions":{"https://a.test,*":{"setting":{)"
      R"("https://b.test,*":1}}})";
  EXPECT_EQ(withoutSites(settings + "}}}}", kAll).action, Rewriting::Action::kLeave);
  EXPECT_EQ(withoutSites(settings + R"(,"site_engagement":{"https://a.test:443,*":{"setting":{}}}}}}})", kAll).contents,
            settings + R"(,"site_engagement":{}}}}})");
  EXPECT_EQ(withoutSites(R"({"zerosuggest":{"cachedresults_with_url":{"https://a.test":1}}})", kAll).contents,
            R"({"zerosuggest":{"cachedresults_with_url":{}}})")
      << "no setting";
}

TEST(Preferences, keepWhatWasSetForKeptSites) {
  const tidewell::Kept kept{.sites = tidewell::KeptSites::of({"kept.test", "=alone.test", "::1"})};
  const auto settings = [](const std::string& entries) {
    return R"({"profile":{"content_settings":{"exceptions":{"geolocation":{)" + entries + "}}}}}";
  };
  const std::string entries =
      R"("https://kept.test:443,*":{"setting":1},"[*.]www.kept.test,*":{},"kept.test,https://alone.test":{},)"
      R"("http://[::1]:80,*":{},"https://alone.test,*":{"setting":{"https://other.test,*":1}})";
  EXPECT_EQ(withoutSites(settings(entries), kept).action, Action::kLeave);
  EXPECT_EQ(withoutSites(settings(entries + R"(,"other.test,*":{},"[*.]alone2.test,*":{},"other.test,kept.test":{},)"
                                            R"("kept.test,https://other.test":{},"notkept.test,*":{})"),
                         kept)
                .contents,
            settings(entries));
  const std::string others =
      R"({"partition":{"per_host_zoom_levels":{"x":{"kept.test":{}}}},"custom_handlers":{"registered_protocol_handlers":)"
      R"([{"url":"https://www.kept.test/%s"}]},"protocol_handler":{"allowed_origin_protocol_pairs":{"https://kept.test":{}}})";
  EXPECT_EQ(withoutSites(others + "}", kept).action, Action::kLeave);
  EXPECT_EQ(withoutSites(R"({"partition":{"per_host_zoom_levels":{"x":{"other.test":{}}}},"custom_handlers":)"
                         R"({"registered_protocol_handlers":[{"url":"https://kept.test/","icon":"https://other.test"},)"
                         R"({"url":"http://other.test/https://kept.test"}]}})",
                         kept)
                .contents,
            R"({"partition":{"per_host_zoom_levels":{"x":{}}},"custom_handlers":{"registered_protocol_handlers":[]}})");
  EXPECT_EQ(withoutSites(R"({"zerosuggest":{"cachedresults_with_url":{"https://kept.test":1}}})", kept).contents,
            R"({"zerosuggest":{"cachedresults_with_url":{}}})")
      << "no setting";
}

}  // namespace
