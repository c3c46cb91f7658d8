#include "Worker/browsers/Browsers.h"

#include <algorithm>
#include <string>

#include "Worker/browsers/Family.h"

namespace tidewell {
namespace {

constexpr Browser kBrowsers[] = {
    {.name = kSafari,
     .bundleIdentifier = "com.apple.Safari",
     .family = Family::kSafari,
     .words = {"safari"},
     .library = {"~/Library/Cookies/", "~/Library/Caches/com.apple.Safari"},
     .executableNames = {"Safari", "safari"}},

    {.name = kFirefox,
     .bundleIdentifier = "org.mozilla.firefox",
     .family = Family::kFirefox,
     .words = {"firefox", "firefox-esr", "firefox-bin"},
     .library = {"~/Library/Application Support/Firefox/Profiles/", "~/Library/Caches/Firefox/Profiles/"},
     .places = {{"~/.config/mozilla/firefox", "~/.cache/mozilla/firefox"},  // where new profiles are made since 2025
                {"~/.mozilla/firefox", "~/.cache/mozilla/firefox"},
                {"~/.var/app/org.mozilla.firefox/config/mozilla/firefox",
                 "~/.var/app/org.mozilla.firefox/cache/mozilla/firefox"},
                {"~/.var/app/org.mozilla.firefox/.config/mozilla/firefox",
                 "~/.var/app/org.mozilla.firefox/cache/mozilla/firefox"},
                {"~/.var/app/org.mozilla.firefox/.mozilla/firefox",
                 "~/.var/app/org.mozilla.firefox/cache/mozilla/firefox"},
                {"~/snap/firefox/common/.config/mozilla/firefox", "~/snap/firefox/common/.cache/mozilla/firefox"},
                {"~/snap/firefox/common/.mozilla/firefox", "~/snap/firefox/common/.cache/mozilla/firefox"}},
     .executableNames = {"firefox", "firefox-esr", "firefox-bin"},
     .executablePlaces = {"/usr/lib/firefox/firefox", "/usr/lib/firefox-esr/firefox-esr", "/usr/lib64/firefox/firefox",
                          "/opt/firefox/firefox", "/opt/mozilla/firefox/firefox",
                          "/snap/firefox/current/usr/lib/firefox/firefox",
                          "/var/lib/flatpak/app/org.mozilla.firefox/current/active/files/lib/firefox/firefox",
                          "~/.local/share/flatpak/app/org.mozilla.firefox/current/active/files/lib/firefox/firefox"}},

    {.name = kGoogleChrome,
     .bundleIdentifier = "com.google.Chrome",
     .family = Family::kChromium,
     .words = {"chrome", "google-chrome", "google-chrome-stable"},
     .library = {"~/Library/Application Support/Google/Chrome", "~/Library/Caches/Google/Chrome"},
     .places = {{"~/.config/google-chrome", "~/.cache/google-chrome"},
                {"~/.config/google-chrome-beta", "~/.cache/google-chrome-beta"},
                {"~/.config/google-chrome-unstable", "~/.cache/google-chrome-unstable"},
                {"~/.var/app/com.google.Chrome/config/google-chrome",
                 "~/.var/app/com.google.Chrome/cache/google-chrome"},
                {"~/.var/app/com.google.ChromeDev/config/google-chrome-unstable",
                 "~/.var/app/com.google.ChromeDev/cache/google-chrome-unstable"}},
     .executableNames = {"chrome", "google-chrome"},
     .executablePlaces = {"/opt/google/chrome/chrome", "/opt/google/chrome-beta/chrome",
                          "/opt/google/chrome-unstable/chrome",
                          "/var/lib/flatpak/app/com.google.Chrome/current/active/files/extra/chrome",
                          "~/.local/share/flatpak/app/com.google.Chrome/current/active/files/extra/chrome",
                          "/var/lib/flatpak/app/com.google.ChromeDev/current/active/files/extra/chrome",
                          "~/.local/share/flatpak/app/com.google.ChromeDev/current/active/files/extra/chrome"},
     .hasFlashOfItsOwn = true},

    {.name = kChromium,
     .bundleIdentifier = "org.chromium.Chromium",
     .family = Family::kChromium,
     .words = {"chromium", "chromium-browser"},
     .library = {"~/Library/Application Support/Chromium", "~/Library/Caches/Chromium"},
     .places = {{"~/.config/chromium", "~/.cache/chromium"},
                {"~/.var/app/org.chromium.Chromium/config/chromium", "~/.var/app/org.chromium.Chromium/cache/chromium"},
                {"~/snap/chromium/common/chromium", "~/snap/chromium/common/.cache/chromium"}},
     .executableNames = {"chromium", "chromium-browser"},
     .executablePlaces = {"/usr/lib/chromium/chromium", "/usr/lib/chromium-browser/chromium-browser",
                          "/usr/lib64/chromium-browser/chromium-browser",
                          "/snap/chromium/*/usr/lib/chromium-browser/chrome",
                          "/var/lib/flatpak/app/org.chromium.Chromium/current/active/files/chromium/chrome",
                          "~/.local/share/flatpak/app/org.chromium.Chromium/current/active/files/chromium/chrome",
                          "/app/chromium/chrome"},  // as a sandboxed installation sees itself
     .hasFlashOfItsOwn = true},

    {.name = kOpera,
     .bundleIdentifier = kOperaIdentifier,
     .family = Family::kChromium,
     .words = {"opera"},
     .library = {"~/Library/Application Support/com.operasoftware.Opera", "~/Library/Caches/com.operasoftware.Opera"},
     .places = {{"~/.config/opera", "~/.cache/opera"},
                {"~/.config/opera-beta", "~/.cache/opera-beta"},
                {"~/.config/opera-developer", "~/.cache/opera-developer"},
                {"~/.var/app/com.opera.Opera/config/opera", "~/.var/app/com.opera.Opera/cache/opera"},
                {"~/snap/opera/common/.config/opera", "~/snap/opera/common/.cache/opera"},
                {"~/snap/opera/common/opera", "~/snap/opera/common/.cache/opera"}},
     .executableNames = {"opera", "opera-beta", "opera-developer"},
     .executablePlaces = {"/usr/lib/opera/opera", "/usr/lib/*/opera/opera", "/usr/lib64/opera/opera",
                          "/usr/lib/*/opera-beta/opera-beta", "/usr/lib/*/opera-developer/opera-developer",
                          "/opt/opera/opera", "/snap/opera/*/usr/lib/*/opera/opera",
                          "/var/lib/flatpak/app/com.opera.Opera/current/active/files/extra/opera",
                          "~/.local/share/flatpak/app/com.opera.Opera/current/active/files/extra/opera"},
     .hasProfileInDataFolder = true},

    {.name = "Brave",
     .bundleIdentifier = "com.brave.Browser",
     .family = Family::kChromium,
     .words = {"brave", "brave-browser"},
     .places = {{"~/.config/BraveSoftware/Brave-Browser", "~/.cache/BraveSoftware/Brave-Browser"},
                {"~/.config/BraveSoftware/Brave-Browser-Beta", "~/.cache/BraveSoftware/Brave-Browser-Beta"},
                {"~/.config/BraveSoftware/Brave-Browser-Dev", "~/.cache/BraveSoftware/Brave-Browser-Dev"},
                {"~/.config/BraveSoftware/Brave-Browser-Nightly", "~/.cache/BraveSoftware/Brave-Browser-Nightly"},
                {"~/.var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser",
                 "~/.var/app/com.brave.Browser/cache/BraveSoftware/Brave-Browser"},
                {"~/snap/brave/current/.config/BraveSoftware/Brave-Browser",
                 "~/snap/brave/common/.cache/BraveSoftware/Brave-Browser"}},
     .executableNames = {"brave", "brave-browser"},
     .executablePlaces = {"/opt/brave.com/brave/brave", "/opt/brave.com/brave-beta/brave",
                          "/opt/brave.com/brave-dev/brave", "/opt/brave.com/brave-nightly/brave",
                          "/snap/brave/*/opt/brave.com/brave/brave",
                          "/var/lib/flatpak/app/com.brave.Browser/current/active/files/brave/brave",
                          "~/.local/share/flatpak/app/com.brave.Browser/current/active/files/brave/brave"}},

    {.name = "Vivaldi",
     .bundleIdentifier = "com.vivaldi.Vivaldi",
     .family = Family::kChromium,
     .words = {"vivaldi", "vivaldi-stable"},
     .places = {{"~/.config/vivaldi", "~/.cache/vivaldi"},
                {"~/.config/vivaldi-snapshot", "~/.cache/vivaldi-snapshot"},
                {"~/.var/app/com.vivaldi.Vivaldi/config/vivaldi", "~/.var/app/com.vivaldi.Vivaldi/cache/vivaldi"},
                {"~/snap/vivaldi/current/.config/vivaldi", "~/snap/vivaldi/common/.cache/vivaldi"}},
     .executableNames = {"vivaldi-bin"},
     .executablePlaces = {"/opt/vivaldi/vivaldi-bin", "/opt/vivaldi-snapshot/vivaldi-bin",
                          "/snap/vivaldi/*/opt/vivaldi/vivaldi-bin",
                          "/var/lib/flatpak/app/com.vivaldi.Vivaldi/current/active/files/vivaldi/vivaldi-bin",
                          "~/.local/share/flatpak/app/com.vivaldi.Vivaldi/current/active/files/vivaldi/vivaldi-bin"}},

    {.name = "Microsoft Edge",
     .bundleIdentifier = "com.microsoft.Edge",
     .family = Family::kChromium,
     .words = {"edge", "microsoft-edge", "msedge"},
     .places = {{"~/.config/microsoft-edge", "~/.cache/microsoft-edge"},
                {"~/.config/microsoft-edge-beta", "~/.cache/microsoft-edge-beta"},
                {"~/.config/microsoft-edge-dev", "~/.cache/microsoft-edge-dev"},
                {"~/.var/app/com.microsoft.Edge/config/microsoft-edge",
                 "~/.var/app/com.microsoft.Edge/cache/microsoft-edge"}},
     .executableNames = {"msedge"},
     .executablePlaces = {"/opt/microsoft/msedge/msedge", "/opt/microsoft/msedge-beta/msedge",
                          "/opt/microsoft/msedge-dev/msedge",
                          "/var/lib/flatpak/app/com.microsoft.Edge/current/active/files/extra/msedge",
                          "~/.local/share/flatpak/app/com.microsoft.Edge/current/active/files/extra/msedge"}},

    {.name = "ungoogled Chromium",
     .bundleIdentifier = "io.github.ungoogled_software.ungoogled_chromium",
     .family = Family::kChromium,
     .words = {"ungoogled-chromium", "ungoogled"},
     .places = {{"~/.config/ungoogled-chromium", "~/.cache/ungoogled-chromium"},
                {"~/.var/app/io.github.ungoogled_software.ungoogled_chromium/config/chromium",
                 "~/.var/app/io.github.ungoogled_software.ungoogled_chromium/cache/chromium"}},
     .executableNames = {"ungoogled-chromium"},
     .executablePlaces =
         {"/usr/lib/ungoogled-chromium/ungoogled-chromium", "/opt/ungoogled-chromium/chrome",
          "/var/lib/flatpak/app/io.github.ungoogled_software.ungoogled_chromium/current/active/files/chromium/chrome",
          "~/.local/share/flatpak/app/io.github.ungoogled_software.ungoogled_chromium/current/active/files/chromium/"
          "chrome"}},

    {.name = "LibreWolf",
     .bundleIdentifier = "io.gitlab.librewolf-community",
     .family = Family::kFirefox,
     .words = {"librewolf"},
     .places = {{"~/.librewolf", "~/.cache/librewolf"},
                {"~/.config/librewolf/librewolf", "~/.cache/librewolf/librewolf"},
                {"~/.var/app/io.gitlab.librewolf-community/.librewolf",
                 "~/.var/app/io.gitlab.librewolf-community/cache/librewolf"}},
     .executableNames = {"librewolf", "librewolf-bin"},
     .executablePlaces =
         {"/usr/share/librewolf/librewolf", "/usr/lib/librewolf/librewolf", "/usr/lib64/librewolf/librewolf",
          "/opt/librewolf/librewolf",
          "/var/lib/flatpak/app/io.gitlab.librewolf-community/current/active/files/lib/librewolf/librewolf",
          "~/.local/share/flatpak/app/io.gitlab.librewolf-community/current/active/files/lib/librewolf/librewolf"}},

    {.name = "Waterfox",
     .bundleIdentifier = "net.waterfox.waterfox",
     .family = Family::kFirefox,
     .words = {"waterfox"},
     .places = {{"~/.waterfox", "~/.cache/waterfox"},
                {"~/.var/app/net.waterfox.waterfox/.waterfox", "~/.var/app/net.waterfox.waterfox/cache/waterfox"}},
     .executableNames = {"waterfox", "waterfox-bin"},
     .executablePlaces =
         {"/usr/lib/waterfox/waterfox", "/usr/lib64/waterfox/waterfox", "/opt/waterfox/waterfox",
          "/var/lib/flatpak/app/net.waterfox.waterfox/current/active/files/lib/waterfox/waterfox",
          "~/.local/share/flatpak/app/net.waterfox.waterfox/current/active/files/lib/waterfox/waterfox"}},

    {.name = "Floorp",
     .bundleIdentifier = "one.ablaze.floorp",
     .family = Family::kFirefox,
     .words = {"floorp"},
     .places = {{"~/.floorp", "~/.cache/floorp"},
                {"~/.var/app/one.ablaze.floorp/.floorp", "~/.var/app/one.ablaze.floorp/cache/floorp"}},
     .executableNames = {"floorp"},
     .executablePlaces = {"/usr/lib/floorp/floorp", "/usr/lib64/floorp/floorp", "/opt/floorp/floorp",
                          "/var/lib/flatpak/app/one.ablaze.floorp/current/active/files/lib/floorp/floorp",
                          "~/.local/share/flatpak/app/one.ablaze.floorp/current/active/files/lib/floorp/floorp"}},

    {.name = "Zen",
     .bundleIdentifier = "app.zen_browser.zen",
     .family = Family::kFirefox,
     .words = {"zen", "zen-browser"},
     .places = {{"~/.zen", "~/.cache/zen"},
                {"~/.config/zen", "~/.cache/zen"},
                {"~/.var/app/app.zen_browser.zen/.zen", "~/.var/app/app.zen_browser.zen/cache/zen"},
                {"~/snap/zen/common/.zen", "~/snap/zen/common/.cache/zen"}},
     .executableNames = {"zen", "zen-bin", "zen-browser"},
     .executablePlaces = {"/opt/zen-browser-bin/zen-bin", "/opt/zen-browser/zen", "/opt/zen/zen",
                          "/usr/lib/zen-browser/zen-bin",
                          "/var/lib/flatpak/app/app.zen_browser.zen/current/active/files/zen/zen",
                          "~/.local/share/flatpak/app/app.zen_browser.zen/current/active/files/zen/zen"},
     .needsProfilesList = true},
};

template <typename Predicate>
const Browser* browserThat(Predicate predicate) {
  const auto* found = std::find_if(std::begin(kBrowsers), std::end(kBrowsers), predicate);
  return found != std::end(kBrowsers) ? found : nullptr;
}

std::string lowerCase(std::string_view text) {
  std::string result(text);
  for (char& character : result) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return result;
}

}  // namespace

std::span<const Browser> browsers() {
  return kBrowsers;
}

platform::WatchedApplication watched(const Browser& browser) {
  const auto& helperMarks = factsOf(browser.family).helperMarks;
  return {std::string(browser.name),
          std::string(browser.bundleIdentifier),
          {browser.executableNames.begin(), browser.executableNames.end()},
          {browser.executablePlaces.begin(), browser.executablePlaces.end()},
          {helperMarks.begin(), helperMarks.end()}};
}

std::vector<platform::WatchedApplication> watchedBrowsers() {
  std::vector<platform::WatchedApplication> applications;
  for (const Browser& browser : browsers()) applications.push_back(watched(browser));
  return applications;
}

const Browser* browserNamed(std::string_view name) {
  return browserThat([name](const Browser& browser) { return browser.name == name; });
}

const Browser* browserWithIdentifier(std::string_view bundleIdentifier) {
  return browserThat([&](const Browser& browser) { return browser.bundleIdentifier == bundleIdentifier; });
}

const Browser* browserCalled(std::string_view text) {
  const std::string wanted = lowerCase(text);
  return browserThat([&wanted](const Browser& browser) {
    return wanted == lowerCase(browser.name) || wanted == lowerCase(browser.bundleIdentifier) ||
           std::find(browser.words.begin(), browser.words.end(), wanted) != browser.words.end();
  });
}

}  // namespace tidewell
