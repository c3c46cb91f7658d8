// The words behind "tidewell": which command they are, and its options.
#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "MainApplication/command/Commands.h"

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace tidewell {

class Arguments {
 public:
  explicit Arguments(Screen screen);
  ~Arguments();

  /// Absent when there is a command to be run; else the exit status: help or the version was printed, or the words are
  /// none that are known, which was said in a line on `errors`.
  std::optional<int> parse(int count, char** words, std::ostream& output, std::ostream& errors);

  /// Runs the command; "status" when there is none. Returns its exit status.
  int run(platform::linux_::SqliteUserDefaults& domains, std::ostream& output, std::ostream& errors);

 private:
  using Command = std::function<int(Commands&)>;

  CLI::App& add(const char* name, const std::string& what, Command command);
  CLI::App& addOfBrowsers(const char* name, const std::string& what,
                          int (Commands::*command)(const std::vector<std::string>&));
  void addSwitch(const char* name, const char* key, const FlagWords& words, const std::string& what);
  void addBrowserCommands();
  void addGrants();
  void addSwitches();
  void addKeep();
  void addCleanings();
  int misunderstood(const CLI::ParseError& error, std::ostream& errors) const;

  std::unique_ptr<CLI::App> app_;
  CLI::App* defaults_ = nullptr;
  Commands::Options options_;
  std::vector<std::string> names_;
  std::string word_;
  Command command_;
};

}  // namespace tidewell
