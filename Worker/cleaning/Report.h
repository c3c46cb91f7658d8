// What a cleaning has done: one report for each quit, over all runs that followed it.
//
// A report names browsers, folders of profiles and stores of the tables, and nothing else: no site, no path that a site
// has chosen, no text of an error.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Value.h"
#include "Worker/sandbox/Outcome.h"
#include "Worker/stores/Store.h"

namespace tidewell {

/// Why a browser was cleaned.
enum class Cause {
  kQuit,        // it quit
  kAnnounced,   // a quit was announced, also by "tidewell quit-of"
  kOwed,        // a cleaning was not done, or not done to the end, before
  kLogOut,      // it quit when the session ended
  kPermission,  // a folder was allowed
};

/// What became of one store, or of a whole folder that could not be looked into.
struct StoreReport {
  std::string folder;  // the whole path of the folder that the store is in
  std::string store;   // its path in there, from the table; "" for the folder itself
  StoreGroup group = StoreGroup::kSiteStorage;
  Outcome outcome;

  bool operator==(const StoreReport&) const = default;
};

struct Report {
  struct Run {
    static constexpr platform::Date kCutOff{};  // the end of a run that came to none; a later one did the rest

    platform::Date begun;
    platform::Date ended;
    bool operator==(const Run&) const = default;
  };

  std::string browser = {};  // its bundle identifier
  Cause cause = Cause::kQuit;
  std::vector<Run> runs = {};
  bool isSpared = false;                 // the browser ran again before the last run's end: the rest is left
  std::vector<StoreReport> stores = {};  // those of which something went, or stays that should not

  std::vector<std::string> held = {};  // files that other programs held at last; known to this worker alone

  /// Takes in what became of a store, also of one of which something is known already.
  void note(const StoreReport& store);

  /// Takes in what a later run for the same quit has done. What that one found in order is no longer left.
  void add(const Report& later);

  /// Of all stores of the group, or of all; `left` is the weightiest.
  Outcome sum(std::optional<StoreGroup> group = std::nullopt) const;

  /// The folders that could not be looked into for want of a grant.
  std::vector<std::string> notAllowed() const;

  /// Whether all that should be gone is gone.
  bool isDone() const { return !isSpared && sum().left == Left::kNothing; }

  /// Whether another run may do what this one could not, without anybody doing something about it: a store was in use,
  /// or the disk was full.
  bool isWorthAnotherTry() const;

  bool operator==(const Report&) const = default;
};

/// Words for programs, and for what is stored: "quit", "owed" …; "cookies", "site-data", "caches"; "in-use", "failed"
/// …,
/// "" for Left::kNothing.
std::string_view wordFor(Cause cause);
std::string_view wordFor(StoreGroup group);
std::string_view wordFor(Left left);

/// A report as a value of the settings, and back; absent when the value is none. Stores beyond the first 400 are left
/// out, those of which all went first.
platform::Value valueOf(const Report& report);
std::optional<Report> reportOf(const platform::Value& value);

}  // namespace tidewell
