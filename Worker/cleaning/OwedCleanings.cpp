#include "Worker/cleaning/OwedCleanings.h"

#include <chrono>
#include <memory>
#include <mutex>

#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/browsers/Browsers.h"

namespace tidewell {
namespace {

using platform::Date;
using platform::Platform;

std::unique_ptr<platform::UserDefaults> ownSettings() {
  return Platform::current().userDefaults.standardUserDefaults();
}

/// Of the note that a run is under way, with the next one for the same quit.
std::string keyOfRun(const Browser& browser) {
  return std::string(kRunUnderWayKey) + " " + std::string(browser.bundleIdentifier) + " " +
         Platform::current().system.machineIdentifier();
}

std::string keyOf(const Browser& browser) {
  return keyOfOwedCleaning(browser, Platform::current().system.machineIdentifier());
}

std::mutex& notes() {
  static std::mutex mutex;  // a note may be read and changed by a run while its browser starts
  return mutex;
}

void write(const Browser& browser) {
  const auto settings = ownSettings();
  settings->setObject(std::chrono::system_clock::now(), keyOf(browser));
  settings->synchronize();  // a failure was logged; there is nothing else to be done about it
}

}  // namespace

std::string keyOfOwedCleaning(const Browser& browser, const std::string& machine) {
  return std::string(kOwedCleaningKey) + " " + std::string(browser.bundleIdentifier) + " " + machine;
}

void OwedCleanings::note(const Browser& browser) {
  const std::lock_guard lock(notes());
  write(browser);
}

void OwedCleanings::noteUnlessNoted(const Browser& browser) {
  const std::lock_guard lock(notes());
  if (!ownSettings()->objectForKey(keyOf(browser))) write(browser);
}

void OwedCleanings::settle(const Browser& browser, Date runBegan) {
  const std::lock_guard lock(notes());
  const auto noted = ownSettings()->objectForKey(keyOf(browser));
  const Date* date = noted ? noted->as<Date>() : nullptr;
  if (noted && (date == nullptr || *date <= runBegan)) ownSettings()->removeObjectForKey(keyOf(browser));
}

std::optional<Date> OwedCleanings::runBegins(const Browser& browser) {
  const auto settings = ownSettings();
  const std::string key = keyOfRun(browser);
  const auto noted = settings->objectForKey(key);
  settings->setObject(std::chrono::system_clock::now(), key);
  const Date* begun = noted ? noted->as<Date>() : nullptr;
  return begun != nullptr ? std::optional(*begun) : std::nullopt;
}

void OwedCleanings::runEnded(const Browser& browser) {
  ownSettings()->removeObjectForKey(keyOfRun(browser));
}

std::vector<const Browser*> OwedCleanings::owed() {
  std::vector<const Browser*> owed;
  const auto settings = ownSettings();
  for (const Browser& browser : browsers()) {
    if (settings->objectForKey(keyOf(browser))) owed.push_back(&browser);
  }
  return owed;
}

void OwedCleanings::forget(const Browser& browser) {
  const std::lock_guard lock(notes());
  if (ownSettings()->objectForKey(keyOf(browser))) ownSettings()->removeObjectForKey(keyOf(browser));
}

}  // namespace tidewell
