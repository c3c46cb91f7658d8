#include "MainApplication/command/Arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <ostream>

#include "MainApplication/command/DidYouMean.h"
#include "MainApplication/command/Texts.h"
#include "Platform/PrintableText.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

constexpr char kNoKind[] = " ";  // the help says nothing of an argument's type

std::string forPrograms() {
  return localized("For programs");
}

}  // namespace

Arguments::Arguments(Screen screen)
    : app_(std::make_unique<CLI::App>(localized("Removes what browsers keep about you."), "tidewell")) {
  options_.screen = screen;
  const auto words = app_->get_formatter();
  words->label("Usage", localized("Usage"));
  words->label("OPTIONS", localized("OPTIONS"));
  words->label("SUBCOMMAND", localized("COMMAND"));
  words->label("Positionals", localized("Arguments"));
  app_->option_defaults()->group(localized("Options"));
  app_->set_help_flag("-h,--help", localized("Print this help, or that of a command"));
  app_->set_version_flag("--version", "tidewell " TIDEWELL_VERSION, localized("Print the version"));
  app_->require_subcommand(0, 1);
  add("status", localized("What is on, and what is allowed; also without a command"), &Commands::status)
      .add_flag("--json", options_.json, forPrograms());
  add("doctor", localized("What is wrong, and what to do about it"), &Commands::doctor)
      .add_flag("--json", options_.json, forPrograms());
  addBrowserCommands();
  addGrants();
  addSwitches();
  addKeep();
  addCleanings();
  defaults_ = app_->add_subcommand("defaults", localized("Read and write settings"));
  // Its long options begin with a single dash, which the library doesn't parse, so the command parses them itself.
  defaults_->prefix_command();
  for (CLI::App* command : app_->get_subcommands({})) command->group(localized("Commands"));
}

Arguments::~Arguments() = default;

CLI::App& Arguments::add(const char* name, const std::string& what, Command command) {
  CLI::App* added = app_->add_subcommand(name, what);
  added->callback([this, command = std::move(command)] {
    if (!command_) command_ = command;
  });
  return *added;
}

CLI::App& Arguments::addOfBrowsers(const char* name, const std::string& what,
                                   int (Commands::*command)(const std::vector<std::string>&)) {
  CLI::App& added = add(name, what, [this, command](Commands& commands) { return (commands.*command)(names_); });
  added.add_option("BROWSER", names_, localized("Such as firefox, chrome, or a bundle identifier"))
      ->required()
      ->option_text(kNoKind);
  return added;
}

void Arguments::addSwitch(const char* name, const char* key, const FlagWords& words, const std::string& what) {
  add(name, what, [this, key, words](Commands& commands) { return commands.setFlag(key, word_, words); })
      .add_option(words.on + "|" + words.off, word_)
      ->required()
      ->option_text(kNoKind);
}

void Arguments::addBrowserCommands() {
  CLI::App& list = add("browsers", localized("The browsers that can be cleaned here"), &Commands::browsers);
  list.add_flag("--json", options_.json, forPrograms());
  list.add_flag("--words", options_.onlyWords, localized("Only what each may be called"));
  const std::string yes = localized("Agree to every folder");
  addOfBrowsers("enable", localized("Clean after these browsers, and ask for their folders"), &Commands::enable)
      .add_flag("--yes", options_.answerYes, yes);
  addOfBrowsers("disable", localized("Leave these browsers alone"), &Commands::disable);
  addOfBrowsers("allow", localized("Ask for the folders of these browsers"), &Commands::allow)
      .add_flag("--yes", options_.answerYes, yes);
}

void Arguments::addGrants() {
  CLI::App& grants = add("grants", localized("The folders that are allowed"), &Commands::grants);
  grants.add_flag("--json", options_.json, forPrograms());
  CLI::App* revoke = grants.add_subcommand("revoke", localized("Take back what was allowed"));
  revoke->group(localized("Commands"));
  revoke->add_option("FOLDER", word_, localized("And all below it"))->required()->option_text(kNoKind);
  revoke->callback([this] { command_ = [this](Commands& commands) { return commands.revoke(word_); }; });
}

void Arguments::addSwitches() {
  addSwitch("notifications", kDisplayNotificationsKey,
            {"on", "off", localized("A notification says when a browser was cleaned."),
             localized("No notification says that a browser was cleaned.")},
            localized("Say when a browser was cleaned"));
  addSwitch("notify-always", kNotifyAlwaysKey,
            {"on", "off", localized("A notification comes also when there was nothing to remove."),
             localized("A notification comes only when something was removed or left.")},
            localized("Say so also when there was nothing to remove"));
  addSwitch("overwrite", kSecureDeleteDataKey,
            {"on", "off", localized("Files are overwritten before they are removed."),
             localized("Files are removed without being overwritten.")},
            localized("Overwrite files before they are removed"));
  addSwitch("site-settings", kKeepSiteSettingsKey,
            {"keep", "remove", localized("What you have set for single sites is kept."),
             localized("What you have set for single sites is removed.")},
            localized("Keep what you have set for single sites"));
  addSwitch("keep-history", kNoHistoryKey,
            {"off", "on", localized("No reports of cleanings are kept from now on."),
             localized("A report of each cleaning is kept.")},
            localized("Keep a report of each cleaning"));
}

void Arguments::addKeep() {
  CLI::App& keep = add("keep", localized("Keep what these sites have stored"),
                       [this](Commands& commands) { return commands.keep(names_); });
  keep.add_option("SITE", names_, localized("Such as a.example, with all below it; =a.example is that host alone"))
      ->option_text(kNoKind);
  keep.add_flag("--list", options_.list, localized("Only print the sites that are kept"));
  keep.add_flag("--json", options_.json, forPrograms());
  keep.add_flag("--remove", options_.remove, localized("Keep these sites no longer"));
  keep.add_option("--import", options_.importFrom, localized("Keep the sites in this file"))->option_text("FILE");
}

void Arguments::addCleanings() {
  const std::string ofBrowser = localized("Such as firefox, chrome, or a bundle identifier");
  const std::string everyStore = localized("Print every store");
  CLI::App& quitOf = add("quit-of", localized("Clean after a browser now, as if it had quit"),
                         [this](Commands& commands) { return commands.quitOf(word_); });
  quitOf.add_option("BROWSER", word_, ofBrowser)->required()->option_text(kNoKind);
  quitOf.add_flag("--force", options_.force, localized("Also while it runs, without asking"));
  quitOf.add_flag("--no-wait{false}", options_.waits, localized("Don't wait for the end of the cleaning"));
  quitOf.add_flag("-v,--verbose", options_.verbose, everyStore);
  quitOf.add_flag("--json", options_.json, forPrograms());
  CLI::App& preview = add("preview", localized("What a cleaning would remove now"),
                          [this](Commands& commands) { return commands.preview(word_); });
  preview.add_option("BROWSER", word_, ofBrowser)->required()->option_text(kNoKind);
  preview.add_flag("-v,--verbose", options_.verbose, localized("Print every path"));
  preview.add_flag("--json", options_.json, forPrograms());
  CLI::App& history = add("history", localized("What the last cleanings have done"),
                          [this](Commands& commands) { return commands.history(names_); });
  history.add_option("BROWSER", names_, localized("Only of these browsers"))->option_text(kNoKind);
  history.add_flag("--last", options_.last, localized("Only the last cleaning"));
  history.add_flag("-v,--verbose", options_.verbose, everyStore);
  history.add_flag("--json", options_.json, forPrograms());
  history.add_flag("--clear", options_.clear, localized("Forget them"));
}

std::optional<int> Arguments::parse(int count, char** words, std::ostream& output, std::ostream& errors) {
  std::vector<std::string> commands;
  for (const CLI::App* command : app_->get_subcommands({})) commands.push_back(command->get_name());
  if (count > 1 && words[1][0] != '-' && std::find(commands.begin(), commands.end(), words[1]) == commands.end()) {
    const std::string meant = mostLike(words[1], commands);
    const std::string word = platform::printable(words[1]);
    errors << "tidewell: "
           << (meant.empty()
                   ? localized("there is no command \"%@\": \"tidewell --help\" lists all", {word})
                   : localized("there is no command \"%@\": did you mean \"%@\"? \"tidewell --help\" lists all",
                               {word, meant}))
           << '\n';
    return kMisused;
  }
  try {
    app_->parse(count, words);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return misunderstood(error, errors);
    app_->exit(error, output, errors);
    return kDone;
  }
  if (!command_) command_ = &Commands::status;
  return std::nullopt;
}

int Arguments::misunderstood(const CLI::ParseError& error, std::ostream& errors) const {
  const auto chosen = app_->get_subcommands();
  const std::string help = "tidewell " + (chosen.empty() ? "" : chosen[0]->get_name() + " ") + "--help";
  const auto unknown = app_->remaining(true);
  errors << "tidewell: ";
  if (error.get_name() == "ExtrasError" && !unknown.empty()) {
    errors << localized("\"%@\" was not understood: \"%@\" says what can be said",
                        {platform::printable(unknown[0]), help});
  } else {
    errors << localized("there is a word too few or too many: \"%@\" says what is needed", {help});
  }
  errors << '\n';
  return kMisused;
}

int Arguments::run(platform::linux_::SqliteUserDefaults& domains, std::ostream& output, std::ostream& errors) {
  if (defaults_->parsed()) return DefaultsCommand(domains, output, errors).run(defaults_->remaining());
  if (options_.json) std::setlocale(LC_ALL, "C");  // also for the system's texts of errors
  Commands commands(domains, options_, output, errors);
  return command_(commands);
}

}  // namespace tidewell
