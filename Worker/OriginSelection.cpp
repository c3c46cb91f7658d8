// Selects what to delete from lists of origins, file names and scopes. The entries are not rewritten: they are used
// verbatim as file names and in statements.

#include <algorithm>
#include <string_view>

#include "Worker/WorkerAppDelegate.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {
namespace {

using Texts = std::vector<std::string>;

constexpr std::string_view kChromeExtension = "chrome-extension_";
constexpr std::string_view kSafariExtension = "safari-extension_";
constexpr std::string_view kLocalStorageFile = ".localstorage";
constexpr std::string_view kEndOfSite = ".:";  // follows the host in a scope that names a site

template <typename Predicate>
Texts chosen(const Texts& entries, Predicate isToBeDeleted) {
  Texts result;
  std::copy_if(entries.begin(), entries.end(), std::back_inserter(result), isToBeDeleted);
  return result;
}

}  // namespace

Texts WorkerAppDelegate::databaseArray(const Texts& origins) {
  // Both kinds of extensions are spared, whatever the browser.
  return chosen(origins, [](const std::string& origin) {
    return !origin.starts_with(kChromeExtension) && !origin.starts_with(kSafariExtension);
  });
}

Texts WorkerAppDelegate::localStorageArray_browser(const Texts& names, const std::string& browserName) {
  // Only the browser's own kind of extensions is spared.
  return chosen(names, [&browserName](const std::string& name) {
    return name.ends_with(kLocalStorageFile) && !(browserName == kSafari && name.starts_with(kSafariExtension)) &&
           !(isOfChromeFamily(browserName) && name.starts_with(kChromeExtension));
  });
}

Texts WorkerAppDelegate::mozillaLocalStorage(const Texts& scopes) {
  return chosen(scopes, [](const std::string& scope) { return scope.find(kEndOfSite) != std::string::npos; });
}

}  // namespace tidewell
