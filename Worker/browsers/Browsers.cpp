#include "Worker/browsers/Browsers.h"

#include <algorithm>

namespace tidewell {
namespace {

using Texts = std::span<const std::string_view>;

// Wrapper scripts and their interpreters never bear these names: it is the program behind them that runs on.
constexpr std::string_view kFirefoxNames[] = {"firefox", "firefox-esr", "firefox-bin"};
constexpr std::string_view kFirefoxPlaces[] = {
    "/usr/lib/firefox/firefox",
    "/usr/lib/firefox-esr/firefox-esr",
    "/usr/lib64/firefox/firefox",
    "/opt/firefox/firefox",
    "/opt/mozilla/firefox/firefox",
    "/snap/firefox/current/usr/lib/firefox/firefox",
    "/var/lib/flatpak/app/org.mozilla.firefox/current/active/files/lib/firefox/firefox",
    "~/.local/share/flatpak/app/org.mozilla.firefox/current/active/files/lib/firefox/firefox"};

constexpr std::string_view kGoogleChromeNames[] = {"chrome", "google-chrome"};
constexpr std::string_view kGoogleChromePlaces[] = {
    "/opt/google/chrome/chrome", "/opt/google/chrome-beta/chrome", "/opt/google/chrome-unstable/chrome",
    "/var/lib/flatpak/app/com.google.Chrome/current/active/files/extra/chrome",
    "~/.local/share/flatpak/app/com.google.Chrome/current/active/files/extra/chrome"};

constexpr std::string_view kChromiumNames[] = {"chromium", "chromium-browser"};
constexpr std::string_view kChromiumPlaces[] = {
    "/usr/lib/chromium/chromium",
    "/usr/lib/chromium-browser/chromium-browser",
    "/usr/lib64/chromium-browser/chromium-browser",
    "/snap/chromium/*/usr/lib/chromium-browser/chrome",
    "/var/lib/flatpak/app/org.chromium.Chromium/current/active/files/chromium/chrome",
    "~/.local/share/flatpak/app/org.chromium.Chromium/current/active/files/chromium/chrome",
    "/app/chromium/chrome"};  // as a sandboxed installation sees itself

constexpr std::string_view kOperaNames[] = {"opera"};
constexpr std::string_view kOperaPlaces[] = {
    "/usr/lib/opera/opera",
    "/usr/lib/*/opera/opera",
    "/usr/lib64/opera/opera",
    "/opt/opera/opera",
    "/snap/opera/*/usr/lib/*/opera/opera",
    "/var/lib/flatpak/app/com.opera.Opera/current/active/files/extra/opera",
    "~/.local/share/flatpak/app/com.opera.Opera/current/active/files/extra/opera"};

constexpr std::string_view kSafariNames[] = {"Safari", "safari"};

constexpr Browser kBrowsers[] = {
    {kSafari, "com.apple.Safari", "~/Library/Cookies/", "~/Library/Caches/com.apple.Safari", kSafariNames, Texts()},
    {kFirefox, "org.mozilla.firefox", "~/Library/Application Support/Firefox/Profiles/",
     "~/Library/Caches/Firefox/Profiles/", kFirefoxNames, kFirefoxPlaces},
    {kGoogleChrome, "com.google.Chrome", "~/Library/Application Support/Google/Chrome",
     "~/Library/Caches/Google/Chrome", kGoogleChromeNames, kGoogleChromePlaces},
    {kChromium, "org.chromium.Chromium", "~/Library/Application Support/Chromium", "~/Library/Caches/Chromium",
     kChromiumNames, kChromiumPlaces},
    {kOpera, kOperaIdentifier, "~/Library/Application Support/com.operasoftware.Opera",
     "~/Library/Caches/com.operasoftware.Opera", kOperaNames, kOperaPlaces},
};

template <typename Predicate>
const Browser* browserThat(Predicate predicate) {
  const auto* found = std::find_if(std::begin(kBrowsers), std::end(kBrowsers), predicate);
  return found != std::end(kBrowsers) ? found : nullptr;
}

}  // namespace

std::span<const Browser> browsers() {
  return kBrowsers;
}

bool isOfChromeFamily(std::string_view name) {
  return name == kGoogleChrome || name == kChromium || name == kOpera;
}

const Browser* browserNamed(std::string_view name) {
  return browserThat([name](const Browser& browser) { return browser.name == name; });
}

const Browser* browserWithIdentifier(std::string_view bundleIdentifier) {
  return browserThat([&](const Browser& browser) { return browser.bundleIdentifier == bundleIdentifier; });
}

}  // namespace tidewell
