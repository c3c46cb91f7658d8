#include "Worker/keeping/KeptSites.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <unordered_set>
#include <utility>

#include "Worker/keeping/Host.h"

namespace tidewell {
namespace {

struct HashOfText {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
using Hosts = std::unordered_set<std::string, HashOfText, std::equal_to<>>;

constexpr char kAlone = '=';

bool isAloneInAnyCase(std::string_view host) {
  return isAddress(host) || parentOf(host).empty();
}

}  // namespace

struct KeptSites::Lists {
  bool isKnown = true;
  Hosts alone;
  Hosts withAllBelow;
  Hosts around;  // the domains that a host of the list lies in, up to the one that has a single owner

  void add(std::string_view entry) {
    const bool isAlone = entry.front() == kAlone;
    const std::string host(entry.substr(isAlone ? 1 : 0));
    (isAlone || isAloneInAnyCase(host) ? alone : withAllBelow).insert(host);
    if (isAddress(host)) return;
    for (std::string parent(parentOf(host)); !parent.empty(); parent = std::string(parentOf(parent))) {
      if (parentOf(parent).empty() || isPublicSuffix(parent) || !around.insert(parent).second) return;
    }
  }

  bool hold(std::string_view host) const {
    if (alone.contains(host)) return true;
    for (; !host.empty(); host = parentOf(host)) {
      if (withAllBelow.contains(host)) return true;
    }
    return false;
  }
};

/// The setting that was read last: mostly it is read again, and 10,000 entries take as long as cleaning a browser.
struct KeptSites::LastRead {
  std::mutex mutex;
  std::vector<std::string> entries;
  KeptSites sites;

  bool isOf(const platform::Value::Array& setting) const {
    const auto isSame = [](const platform::Value& element, const std::string& entry) {
      const auto* text = element.as<std::string>();
      return text != nullptr && *text == entry;
    };
    return std::equal(setting.begin(), setting.end(), entries.begin(), entries.end(), isSame);
  }
};

KeptSites::LastRead& KeptSites::lastRead() {
  static LastRead last;
  return last;
}

KeptSites KeptSites::unknown() {
  return KeptSites(
      std::make_shared<const Lists>(Lists{.isKnown = false, .alone = {}, .withAllBelow = {}, .around = {}}));
}

KeptSites KeptSites::of(const std::vector<std::string>& entries) {
  if (entries.empty()) return {};
  auto lists = std::make_shared<Lists>();
  for (const std::string& entry : entries) {
    const auto canonical = canonicalEntry(entry);
    if (!canonical) return unknown();
    lists->add(*canonical);
  }
  return KeptSites(std::move(lists));
}

KeptSites KeptSites::from(const platform::Value& setting) {
  const auto* array = setting.as<platform::Value::Array>();
  if (array == nullptr) return unknown();
  LastRead& last = lastRead();
  const std::lock_guard lock(last.mutex);
  if (last.isOf(*array)) return last.sites;
  std::vector<std::string> entries;
  for (const platform::Value& element : *array) {
    const auto* entry = element.as<std::string>();
    if (entry == nullptr) return unknown();
    entries.push_back(*entry);
  }
  last.sites = of(entries);
  last.entries = std::move(entries);
  return last.sites;
}

std::optional<std::string> KeptSites::canonicalEntry(std::string_view entry) {
  const bool isAlone = entry.starts_with(kAlone);
  auto host = canonicalHost(entry.substr(isAlone ? 1 : 0));
  if (!host || (!isAddress(*host) && isPublicSuffix(*host))) return std::nullopt;
  return isAlone ? kAlone + *host : host;
}

KeptSites::Parts KeptSites::parts() const {
  if (lists_ == nullptr) return {};
  const auto listed = [](const Hosts& hosts) { return std::vector<std::string>(hosts.begin(), hosts.end()); };
  return {!lists_->isKnown, listed(lists_->alone), listed(lists_->withAllBelow), listed(lists_->around)};
}

KeptSites KeptSites::ofParts(const Parts& parts) {
  if (parts.isUnknown) return unknown();
  if (parts.alone.empty() && parts.withAllBelow.empty()) return {};
  const auto hosts = [](const std::vector<std::string>& list) { return Hosts(list.begin(), list.end()); };
  return KeptSites(std::make_shared<const Lists>(Lists{.isKnown = true,
                                                       .alone = hosts(parts.alone),
                                                       .withAllBelow = hosts(parts.withAllBelow),
                                                       .around = hosts(parts.around)}));
}

bool KeptSites::isUnknown() const {
  return lists_ != nullptr && !lists_->isKnown;
}

bool KeptSites::keepsHost(std::string_view host) const {
  if (lists_ == nullptr) return false;
  const auto canonical = canonicalHost(host);
  return canonical && lists_->hold(*canonical);
}

bool KeptSites::keepsSite(std::string_view host) const {
  if (lists_ == nullptr) return false;
  const auto canonical = canonicalHost(host);
  return canonical && (lists_->hold(*canonical) || lists_->around.contains(*canonical));
}

bool KeptSites::keepsCookieOf(std::string_view domain) const {
  return domain.starts_with('.') ? keepsSite(domain.substr(1)) : keepsHost(domain);
}

bool KeptSites::keeps(const Owner& owner) const {
  return keepsHost(owner.host) && (!owner.topLevelSite || keepsSite(*owner.topLevelSite));
}

bool KeptSites::keepsCookie(std::string_view domain, const std::optional<std::string>& topLevelSite) const {
  return keepsCookieOf(domain) && (!topLevelSite || keepsSite(*topLevelSite));
}

}  // namespace tidewell
