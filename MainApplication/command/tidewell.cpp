// The command "tidewell": the main application for the terminal.

#include <iostream>

#include "MainApplication/command/Arguments.h"
#include "MainApplication/command/Texts.h"
#include "Platform/Linux/host/GettextBundle.h"
#include "Platform/Linux/host/LineLog.h"
#include "Worker/Identity.h"

namespace linux_ = platform::linux_;

static int run(int argc, char** argv) {
  tidewell::Arguments arguments(tidewell::Screen::ofStandardOutput());
  if (const auto status = arguments.parse(argc, argv, std::cout, std::cerr)) return *status;
  linux_::LineLog log;
  linux_::SqliteUserDefaults domains(linux_::SqliteUserDefaults::folderFromEnvironment(), tidewell::kBundleIdentifier,
                                     log);
  return arguments.run(domains, std::cout, std::cerr);
}

int main(int argc, char** argv) {
  linux_::GettextBundle::useTextsBesideProgram();
  const int status = run(argc, argv);
  std::cout.flush();
  if (std::cout) return status;
  std::cerr << "tidewell: " << tidewell::localized("the output could not be written: is the disk full?") << '\n';
  return status == tidewell::kDone ? tidewell::kFailed : status;
}
