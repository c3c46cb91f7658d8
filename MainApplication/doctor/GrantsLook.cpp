#include "MainApplication/doctor/GrantsLook.h"

#include <algorithm>

#include "Platform/FileURL.h"
#include "Platform/Linux/files/SecurityScopes.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

using Grade = Finding::Grade;

constexpr std::string_view kGrantPrefix = "bd_";

}  // namespace

GrantsLook GrantsLook::now(const SettingsStore& settings, platform::linux_::SqliteUserDefaults& domains) {
  GrantsLook look;
  const Home home = settings.home();
  for (const Browser* browser : settings.knownBrowsers()) {
    if (!settings.isEnabled(*browser)) continue;
    OfBrowser of{std::string(browser->name), std::string(*browser->words.begin())};
    of.neverAsked = settings.neverAsked(*browser);
    for (const std::string& folder : home.layout->foldersToAllow(*browser)) {
      if (!settings.isGranted(folder)) of.notAllowed.push_back(folder);
    }
    look.browsers.push_back(std::move(of));
  }
  platform::linux_::SecurityScopes scopes;
  for (const auto& [key, value] : domains.fileOfDomain(kBundleIdentifier)->readAll()) {
    if (!key.starts_with(kGrantPrefix)) continue;
    const auto url = platform::FileURL::fromString(std::string_view(key).substr(kGrantPrefix.size()));
    const auto* data = value.as<platform::Data>();
    if (!url || data == nullptr) continue;
    const platform::ResolvedBookmark grant = scopes.resolveBookmarkData(*data);
    if (!grant.url) {
      look.gone.push_back(url->path());
    } else if (grant.isStale) {
      look.replaced.push_back(url->path());
    }
  }
  return look;
}

Findings GrantsLook::findings() const {
  Findings found;
  if (browsers.empty()) {
    found.push_back({Grade::kRemark, "browsers", localizable("No browser is enabled: nothing is cleaned."),
                     localizable("\"tidewell enable firefox\" has Firefox cleaned when it quits.")});
  }
  for (const OfBrowser& browser : browsers) addFolders(browser, found);
  for (const std::string& folder : replaced) {
    found.push_back(
        {Grade::kWrong, "grants", localizable("Another folder stands at %@ than the one that was allowed.", {folder}),
         localizable("If it is the right one, take the grant back and allow it again: tidewell grants revoke "
                     "%@",
                     {folder})});
  }
  if (!gone.empty()) {
    found.push_back({Grade::kRemark, "grants",
                     localizable("Grants that lead nowhere: %@, such as %@.", {std::to_string(gone.size()), gone[0]}),
                     localizable("They do no harm. Take one back: tidewell grants revoke %@", {gone[0]})});
  }
  return found;
}

void GrantsLook::addFolders(const OfBrowser& browser, Findings& found) const {
  if (browser.notAllowed.empty()) {
    found.push_back({Grade::kGood, "browsers", localizable("%@: its folders are allowed.", {browser.name}), {}});
  }
  for (const std::string& folder : browser.notAllowed) {
    const bool isNever =
        std::find(browser.neverAsked.begin(), browser.neverAsked.end(), folder) != browser.neverAsked.end();
    found.push_back({Grade::kWrong, "browsers",
                     isNever
                         ? localizable("%@: the folder %@ is not allowed, and never asked for.", {browser.name, folder})
                         : localizable("%@: the folder %@ is not allowed.", {browser.name, folder}),
                     command("tidewell allow %@", {browser.word})});
  }
}

}  // namespace tidewell
