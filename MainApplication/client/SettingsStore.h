// What the main application reads and changes in the settings: the shared ones, and the grants of the worker.
//
// Every call reads the files again. A write that fails returns false; DefaultsFile has logged the reason.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Linux/settings/SqliteUserDefaults.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/cleaning/Report.h"
#include "Worker/homes/Home.h"

namespace tidewell {

class SettingsStore {
 public:
  explicit SettingsStore(platform::linux_::SqliteUserDefaults& domains) : domains_(domains) {}

  bool isEnabled(const Browser& browser) const;
  bool setEnabled(const Browser& browser, bool enabled);

  bool flag(const std::string& key) const;
  bool setFlag(const std::string& key, bool on);

  /// The entries of the list of kept sites as they stand there; absent when it can't be read.
  std::optional<std::vector<std::string>> keptSites() const;
  bool setKeptSites(const std::vector<std::string>& entries);

  /// The user's home, as the worker sees it; taken from the password database before the worker has ever run.
  Home home() const;

  /// The browsers that can be in that home.
  std::vector<const Browser*> knownBrowsers() const;

  /// The folders and files that are granted, as paths, sorted.
  std::vector<std::string> grants() const;

  /// Revokes the grants of the folder and of all below it; returns how many there were.
  std::size_t revoke(const std::string& folder);

  /// Whether the folder, or one above it, is granted. A grant that the worker passes over as too wide is none.
  bool isGranted(const std::string& folder) const;

  /// The folders that a browser's cleaning needs and for which the user has said "Never".
  std::vector<std::string> neverAsked(const Browser& browser) const;

  /// Whether a browser has run on this machine since it was cleaned to the end.
  bool isOwed(const Browser& browser) const;

  /// The reports of the last cleanings, the oldest first.
  std::vector<Report> history() const;
  bool clearHistory();

  enum class Allowed { kNothingThere, kNone, kSome, kAll };
  /// How many of the folders that a browser's cleaning needs are granted.
  Allowed allowed(const Browser& browser) const;

 private:
  bool isGranted(const std::string& folder, const Home& home) const;

  std::shared_ptr<platform::linux_::DefaultsFile> shared() const;
  std::shared_ptr<platform::linux_::DefaultsFile> workers() const;

  platform::linux_::SqliteUserDefaults& domains_;
};

}  // namespace tidewell
