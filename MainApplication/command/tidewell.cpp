// The command "tidewell": the main application for the terminal.

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>

#include "MainApplication/command/Commands.h"
#include "Platform/Linux/host/LineLog.h"
#include "Worker/Identity.h"

namespace linux_ = platform::linux_;
using tidewell::Commands;

int main(int argc, char** argv) {
  CLI::App app("Removes what browsers keep about you.", "tidewell");
  app.require_subcommand(1);
  Commands::Options options;
  std::vector<std::string> names;
  std::string word;
  std::function<int(Commands&)> run;

  const auto add = [&](CLI::App& parent, const char* name, const char* what, std::function<int(Commands&)> command) {
    CLI::App* added = parent.add_subcommand(name, what);
    added->callback([&run, command = std::move(command)] {
      if (!run) run = command;
    });
    return added;
  };
  add(app, "status", "What is on, and what is allowed", [](Commands& c) {
    return c.status();
  })->add_flag("--json", options.json, "For programs");
  CLI::App* list =
      add(app, "browsers", "The browsers that can be cleaned here", [](Commands& c) { return c.browsers(); });
  list->add_flag("--json", options.json, "For programs");
  list->add_flag("--words", options.onlyWords, "Only what each may be called");
  const auto ofBrowsers = [&](const char* name, const char* what,
                              int (Commands::*command)(const std::vector<std::string>&)) {
    CLI::App* added = add(app, name, what, [&names, command](Commands& c) { return (c.*command)(names); });
    added->add_option("BROWSER", names, "Such as firefox, chrome, or a bundle identifier")->required();
    return added;
  };
  ofBrowsers("enable", "Clean after these browsers, and ask for their folders", &Commands::enable)
      ->add_flag("--yes", options.answerYes, "Agree to every folder");
  ofBrowsers("disable", "Leave these browsers alone", &Commands::disable);
  ofBrowsers("allow", "Ask for the folders of these browsers", &Commands::allow)
      ->add_flag("--yes", options.answerYes, "Agree to every folder");
  CLI::App* grants = add(app, "grants", "The folders that are allowed", [](Commands& c) { return c.grants(); });
  grants->add_flag("--json", options.json, "For programs");
  CLI::App* revoke = grants->add_subcommand("revoke", "Take back what was allowed");
  revoke->add_option("FOLDER", word, "And all below it")->required();
  revoke->callback([&] { run = [&](Commands& c) { return c.revoke(word); }; });
  const auto flag = [&](const char* name, const char* key, const tidewell::FlagWords& words, const char* what) {
    add(app, name, what, [&word, key, words](Commands& c) { return c.setFlag(key, word, words); })
        ->add_option(words.on + "|" + words.off, word)
        ->required();
  };
  flag("notifications", tidewell::kDisplayNotificationsKey, {"on", "off"}, "Say when a browser was cleaned");
  flag("notify-always", tidewell::kNotifyAlwaysKey, {"on", "off"}, "Say so also when there was nothing to remove");
  flag("overwrite", tidewell::kSecureDeleteDataKey, {"on", "off"}, "Overwrite files before they are removed");
  flag("site-settings", tidewell::kKeepSiteSettingsKey, {"keep", "remove"}, "Keep what you have set for single sites");
  CLI::App* keep = add(app, "keep", "Keep what these sites have stored", [&](Commands& c) { return c.keep(names); });
  keep->add_option("SITE", names, "Such as a.example, with all below it; =a.example is that host alone");
  keep->add_flag("--list", options.list, "Only print the sites that are kept");
  keep->add_flag("--json", options.json, "For programs");
  keep->add_flag("--remove", options.remove, "Keep these sites no longer");
  keep->add_option("--import", options.importFrom, "Keep the sites in this file")->option_text("FILE");
  flag("keep-history", tidewell::kNoHistoryKey, {"off", "on"}, "Keep a report of each cleaning");
  CLI::App* quitOf =
      add(app, "quit-of", "Clean after a browser now, as if it had quit", [&](Commands& c) { return c.quitOf(word); });
  quitOf->add_option("BROWSER", word)->required();
  quitOf->add_flag("--force", options.force, "Also while it runs, without asking");
  quitOf->add_flag("--no-wait{false}", options.waits, "Don't wait for the end of the cleaning");
  quitOf->add_flag("-v,--verbose", options.verbose, "Print every store");
  quitOf->add_flag("--json", options.json, "For programs");
  CLI::App* preview =
      add(app, "preview", "What a cleaning would remove now", [&](Commands& c) { return c.preview(word); });
  preview->add_option("BROWSER", word)->required();
  preview->add_flag("--json", options.json, "For programs");
  CLI::App* history =
      add(app, "history", "What the last cleanings have done", [&](Commands& c) { return c.history(names); });
  history->add_option("BROWSER", names, "Only of these browsers");
  history->add_flag("--last", options.last, "Only the last cleaning");
  history->add_flag("-v,--verbose", options.verbose, "Every store");
  history->add_flag("--json", options.json, "For programs");
  history->add_flag("--clear", options.clear, "Forget them");
  CLI::App* defaults = app.add_subcommand("defaults", "Read and write settings");
  // Its long options begin with a single dash, which the library doesn't parse, so the command parses them itself.
  defaults->prefix_command();

  options.isTerminal = ::isatty(STDOUT_FILENO) == 1;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? tidewell::kDone : tidewell::kMisused;
  }
  linux_::LineLog log;
  linux_::SqliteUserDefaults domains(linux_::SqliteUserDefaults::folderFromEnvironment(), tidewell::kBundleIdentifier,
                                     log);
  if (!run) return tidewell::DefaultsCommand(domains, std::cout, std::cerr).run(defaults->remaining());
  Commands commands(domains, options, std::cout, std::cerr);
  return run(commands);
}
