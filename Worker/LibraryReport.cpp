#include "Worker/LibraryReport.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <utility>

#include "Platform/Path.h"
#include "Worker/cleaning/History.h"

namespace tidewell {
namespace {

using platform::deletingLastPathComponent;
using platform::lastPathComponent;

// Folders in which each item is named after a site.
constexpr std::array kFoldersOfSites = {"Databases", "LocalStorage", "databases", "Local Storage"};
constexpr std::array kCookieStores = {"Cookies",        "Cookies.binarycookies", "Cookies.plist",
                                      "cookies.sqlite", "permissions.sqlite",    "Origin Bound Certs"};
constexpr std::array kCacheStores = {"Application Cache", "GPUCache", "TransportSecurity",
                                     "SiteSecurityServiceState.txt", "HSTS.plist"};
constexpr std::string_view kCachesFolder = "/Library/Caches/";

template <std::size_t count>
bool isOneOf(const std::array<const char*, count>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

StoreGroup groupOf(const std::string& path, std::string_view name) {
  if (isOneOf(kCookieStores, name)) return StoreGroup::kCookies;
  const bool isCache = isOneOf(kCacheStores, name) || path.find(kCachesFolder) != std::string::npos;
  return isCache ? StoreGroup::kCaches : StoreGroup::kSiteStorage;
}

}  // namespace

StoreReport storeOfOperations(const std::string& path) {
  std::string folder = deletingLastPathComponent(path);
  std::string name = lastPathComponent(path);
  if (const std::string container = lastPathComponent(folder); isOneOf(kFoldersOfSites, container)) {
    folder = deletingLastPathComponent(folder);
    name = container;
  }
  const StoreGroup group = groupOf(path, name);
  return {std::move(folder), std::move(name), group, {}};
}

std::shared_ptr<LibraryReport> LibraryReport::create(const std::string& browser, Cause cause, RunEnded runEnded) {
  return std::shared_ptr<LibraryReport>(new LibraryReport(browser, cause, std::move(runEnded)));
}

std::shared_ptr<LibraryReport::Run> LibraryReport::beginRun() {
  const std::lock_guard lock(mutex_);
  return std::make_shared<Run>(shared_from_this(), begun_++);
}

void LibraryReport::ended(std::size_t number, Report report) {
  report.browser = browser_;
  report.cause = cause_;
  const std::lock_guard lock(mutex_);
  const bool isLast = ++endedCount_ == kRuns;
  ended_.at(number) = report;
  if (isLast) {
    report = ended_.front();
    report.add(ended_.back());
    History::add(report);
  }
  if (runEnded_) runEnded_(report, isLast);
}

LibraryReport::Run::Run(std::shared_ptr<LibraryReport> whole, std::size_t number)
    : whole_(std::move(whole)), number_(number) {
  report_.runs.push_back({.begun = std::chrono::system_clock::now(), .ended = {}});
}

void LibraryReport::Run::note(const std::string& path, const Outcome& outcome) {
  if (outcome == Outcome()) return;
  StoreReport store = storeOfOperations(path);
  store.outcome = outcome;
  const std::lock_guard lock(mutex_);
  report_.note(store);
}

void LibraryReport::Run::noteNotAllowed(const std::string& folder) {
  const std::lock_guard lock(mutex_);
  report_.note({folder, "", StoreGroup::kSiteStorage, {Left::kNotAllowed}});
}

void LibraryReport::Run::note(const Report& walk) {
  const std::lock_guard lock(mutex_);
  for (const StoreReport& store : walk.stores) report_.note(store);
}

void LibraryReport::Run::willBeLater() {
  const std::lock_guard lock(mutex_);
  ++underWay_;
}

void LibraryReport::Run::later() {
  {
    const std::lock_guard lock(mutex_);
    if (--underWay_ > 0) return;
    report_.runs.back().ended = std::chrono::system_clock::now();
  }
  whole_->ended(number_, std::move(report_));
}

}  // namespace tidewell
