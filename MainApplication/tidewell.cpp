// The command "tidewell": the main application for the terminal.

#include <CLI/CLI.hpp>
#include <iostream>

#include "MainApplication/DefaultsCommand.h"
#include "Platform/Linux/LineLog.h"
#include "Worker/Identity.h"

namespace linux_ = platform::linux_;

int main(int argc, char** argv) {
  CLI::App app("Removes what browsers keep about you.", "tidewell");
  app.require_subcommand(1);
  CLI::App* defaults = app.add_subcommand("defaults", "Read and write settings");
  // Its options begin with a single dash, so the command takes its words apart itself.
  defaults->prefix_command();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? tidewell::kDone : tidewell::kMisused;
  }

  linux_::LineLog log;
  linux_::SqliteUserDefaults domains(linux_::SqliteUserDefaults::folderFromEnvironment(), tidewell::kBundleIdentifier,
                                     log);
  return tidewell::DefaultsCommand(domains, std::cout, std::cerr).run(defaults->remaining());
}
