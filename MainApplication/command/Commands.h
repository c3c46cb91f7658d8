// The everyday commands of "tidewell".
//
// Each returns an exit status: 0 done; 1 failed (no bus, no worker, refused, settings that can't be written); 2 misuse.
// An error is one line on standard error, and says what to do next. A change is confirmed in a line of the output. All
// of it is in the person's language, but for what `json` prints.
#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "MainApplication/client/SettingsStore.h"
#include "MainApplication/client/WorkerConnection.h"
#include "MainApplication/command/DefaultsCommand.h"
#include "MainApplication/command/Screen.h"

namespace tidewell {

/// The words that turn a setting on and off, and what is said when they have.
struct FlagWords {
  std::string on, off;
  std::string isOn, isOff;
};

struct BrowserStatus;
struct Preview;

class Commands {
 public:
  struct Options {
    bool json = false;            // print states for programs
    bool answerYes = false;       // agree to every folder that is asked for
    bool onlyWords = false;       // print one word for each browser
    bool force = false;           // clean a browser that runs without asking
    bool last = false;            // only the last cleaning
    bool verbose = false;         // every store, every path
    bool clear = false;           // forget the cleanings so far
    bool waits = true;            // for the end of a cleaning
    bool list = false;            // print the sites that are kept
    bool remove = false;          // take sites off the list
    std::string importFrom = {};  // a file with sites
    Screen screen = {};           // what the output goes to
  };

  Commands(platform::linux_::SqliteUserDefaults& domains, Options options, std::ostream& output, std::ostream& errors)
      : domains_(domains), settings_(domains), options_(options), output_(output), errors_(errors) {}

  /// Prints whether the worker runs, the switches, and the browsers that there are.
  int status();
  /// Prints the browsers that can be cleaned in this home, or only a word for each.
  int browsers();
  /// Looks at everything that can be wrong; failed when something is.
  int doctor();
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
  int done(const std::string& what);
  int fail(const std::string& why);
  int failToWrite();
  int misused(const std::string& why);
  /// The worker, which the bus starts if it can and must; null, with a line on `errors_`, when it does not run.
  std::unique_ptr<WorkerConnection> worker(platform::linux_::RunLoop& loop);
  std::vector<BrowserStatus> browserStatuses(const Home& home) const;
  void printSwitches(bool isRunning, const Home& home);
  void printBrowsers(const std::vector<BrowserStatus>& browsers, bool isRunning, const Home& home);
  int listKept(const std::vector<std::string>& list);
  int removeKept(const std::vector<std::string>& sites, std::vector<std::string> list);
  int importKept(std::vector<std::string> list);
  /// Asks for the browser's folders; failed when one of them was refused.
  int allowed(const Browser& browser);
  void printPreview(const Preview& preview, const Browser& browser);
  int tellAllowed(const Browser& browser);
  int announceQuit(WorkerConnection& connection, const Browser& browser, bool isRunning);
  /// Why the worker has not cleaned, by the error's name; "" when it has gone.
  static std::string reasonFor(const std::string& errorName, const Browser& browser);
  bool isAgreedThoughRunning(const Browser& browser);
  WorkerConnection::PanelAnswer answerOf(const WorkerConnection::PanelQuestion& question);

  /// One question for all folders of a browser, which is asked when the worker asks for the first of them.
  class Consent;

  platform::linux_::SqliteUserDefaults& domains_;
  SettingsStore settings_;
  const Options options_;
  std::ostream& output_;
  std::ostream& errors_;
};

}  // namespace tidewell
