// "tidewell keep": the sites that stay.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/KeptSitesText.h"
#include "MainApplication/command/Texts.h"
#include "Platform/Linux/host/RegularFile.h"
#include "Platform/PrintableText.h"
#include "Worker/keeping/KeptSites.h"

namespace tidewell {
namespace {

using platform::printable;
using Texts = std::vector<std::string>;

constexpr std::size_t kLargestImport = std::size_t{64} << 20;  // bytes
constexpr std::string_view kDatabase = "SQLite format 3";      // how a database file begins
constexpr char kNoList[] =
    "the list of kept sites can't be read, and nothing that may be a kept site's is removed: \"%@\" makes it empty";
constexpr char kEmptyTheList[] = "tidewell defaults delete 7QX2LM9PDA.com.emberlinestudio.Tidewell keptSites";

/// Adds those that are not in the list yet; returns how many.
std::size_t add(const Texts& entries, Texts& list) {
  const std::size_t before = list.size();
  for (const std::string& entry : entries) {
    if (std::find(list.begin(), list.end(), entry) == list.end()) list.push_back(entry);
  }
  return list.size() - before;
}

}  // namespace

int Commands::keep(const Texts& sites) {
  const bool isChange = !sites.empty() || !options_.importFrom.empty();
  if (int(options_.list) + int(options_.remove) + int(!options_.importFrom.empty()) > 1 ||
      (isChange && options_.list) || (options_.remove && sites.empty()) ||
      (!options_.importFrom.empty() && !sites.empty())) {
    return misused(localized("say either which sites to keep, --list, --remove with sites, or --import with a file"));
  }
  std::optional<Texts> list = settings_.keptSites();
  if (!list) return fail(localized(kNoList, {kEmptyTheList}));
  if (!settings_.home().keepsSites) {
    fail(localized("nothing is kept on a home with a folder \"Library\""));  // but it may be another one tomorrow
  }
  if (!isChange) return listKept(*list);
  if (options_.remove) return removeKept(sites, *list);
  if (!options_.importFrom.empty()) return importKept(*list);
  Texts entries;
  for (const std::string& site : sites) {
    const auto entry = keptSiteFrom(site);
    if (!entry) {
      return misused(localized("\"%@\" is no site that can be kept: name a host, such as mail.example", {site}));
    }
    entries.push_back(*entry);
  }
  const std::size_t added = add(entries, *list);
  if (!settings_.setKeptSites(*list)) return failToWrite();
  return done(localizedPlural("%@ site added", "%@ sites added", added));
}

int Commands::listKept(const Texts& list) {
  if (options_.json) {
    output_ << nlohmann::json(list).dump(2, ' ', true, nlohmann::json::error_handler_t::replace) << '\n';
    return kDone;
  }
  for (const std::string& entry : list) {
    output_ << printable(entry)
            << (KeptSites::canonicalEntry(entry)
                    ? std::string()
                    : "   " + localized("is no site: nothing that may be a kept site's is removed until it is off the "
                                        "list"))
            << '\n';
  }
  return kDone;
}

int Commands::removeKept(const Texts& sites, Texts list) {
  for (const std::string& site : sites) {
    const auto entry = keptSiteFrom(site);
    const auto isIt = [&](const std::string& listed) {
      return listed == site || (entry && KeptSites::canonicalEntry(listed) == entry);
    };
    if (std::erase_if(list, isIt) == 0) {
      return fail(localized("\"%@\" is not in the list of kept sites: \"tidewell keep --list\" prints it", {site}));
    }
  }
  if (!settings_.setKeptSites(list)) return failToWrite();
  return done(localizedPlural("%@ site is kept no longer", "%@ sites are kept no longer", sites.size()));
}

int Commands::importKept(Texts list) {
  const auto contents = platform::linux_::contentsOfRegularFile(options_.importFrom, kLargestImport);
  if (!contents) return fail(options_.importFrom + ": " + contents.error().message());
  const auto found =
      contents->starts_with(kDatabase) ? keptSitesInPermissions(options_.importFrom) : keptSitesInJson(*contents);
  if (!found) {
    return fail(
        localized("%@ is no list of sites that is known here: \"man tidewell\" says which are", {options_.importFrom}));
  }
  const std::size_t added = add(found->entries, list);
  if (added != 0 && !settings_.setKeptSites(list)) return failToWrite();
  std::string text = localizedPlural("%@ site added", "%@ sites added", added);
  if (found->passedOver != 0) {
    text += "; " + localizedPlural("%@ line passed over", "%@ lines passed over", found->passedOver);
  }
  return done(text);
}

}  // namespace tidewell
