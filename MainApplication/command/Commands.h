// The everyday commands of "tidewell".
//
// Each returns an exit status: 0 done; 1 failed (no bus, no worker, refused, settings that can't be written); 2 misuse.
// An error is one line on standard error.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/client/WorkerConnection.h"
#include "MainApplication/command/DefaultsCommand.h"

namespace tidewell {

/// The words that turn a setting on and off.
struct FlagWords {
  std::string on, off;
};

class Commands {
 public:
  struct Options {
    bool json = false;            // print states for programs
    bool answerYes = false;       // agree to every folder that is asked for
    bool onlyWords = false;       // print one word for each browser
    bool force = false;           // clean a browser that runs without asking
    bool last = false;            // only the last cleaning
    bool verbose = false;         // every store
    bool clear = false;           // forget the cleanings so far
    bool waits = true;            // for the end of a cleaning
    bool isTerminal = false;      // a person reads the output
    bool list = false;            // print the sites that are kept
    bool remove = false;          // take sites off the list
    std::string importFrom = {};  // a file with sites
  };

  Commands(platform::linux_::SqliteUserDefaults& domains, Options options, std::ostream& output, std::ostream& errors)
      : domains_(domains), settings_(domains), options_(options), output_(output), errors_(errors) {}

  int status();
  /// Prints the browsers that can be cleaned in this home, or only a word for each.
  int browsers();
  int enable(const std::vector<std::string>& browsers);
  int disable(const std::vector<std::string>& browsers);
  int allow(const std::vector<std::string>& browsers);
  int grants();
  int revoke(const std::string& folder);
  /// Writes a setting that one of two words turns on or off.
  int setFlag(const std::string& key, const std::string& word, const FlagWords& words);
  /// Has a browser cleaned, and prints the report; failed when not all was done. While it runs, only with `force` or
  /// when the person agrees in the terminal.
  int quitOf(const std::string& browser);
  /// Prints the last cleanings, of these browsers or of all, or forgets them.
  int history(const std::vector<std::string>& browsers);
  /// Keeps these sites, or with `remove` no longer; those in a file with `importFrom`; else prints which are kept.
  int keep(const std::vector<std::string>& sites);
  /// Prints what a run would remove now.
  int preview(const std::string& browser);

 private:
  /// The browsers with these names; empty, with a line on `errors_`, when one is unknown.
  std::vector<const Browser*> browsersFor(const std::vector<std::string>& texts);
  int fail(const std::string& why);
  int listKept(const std::vector<std::string>& list);
  int removeKept(const std::vector<std::string>& sites, std::vector<std::string> list);
  int importKept(std::vector<std::string> list);
  int allowed(const Browser& browser);
  int announceQuit(WorkerConnection& connection, const Browser& browser, bool isRunning);
  bool isAgreedThoughRunning(const Browser& browser);
  WorkerConnection::PanelAnswer answerOf(const WorkerConnection::PanelQuestion& question);

  platform::linux_::SqliteUserDefaults& domains_;
  SettingsStore settings_;
  const Options options_;
  std::ostream& output_;
  std::ostream& errors_;
};

}  // namespace tidewell
