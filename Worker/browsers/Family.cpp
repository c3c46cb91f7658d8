#include "Worker/browsers/Family.h"

namespace tidewell {
namespace {

constexpr FamilyFacts kSafariFacts;

// Some helpers still run when the main program has gone, for example to report a crash.
constexpr FamilyFacts kFirefoxFacts{
    .helperMarks = {"-contentproc", "--contentproc", "-backgroundtask", "--backgroundtask"},
    .folderOptions = {"-profile", "--profile"},
    .filesOfProfile = {"prefs.js", "times.json"},
    .namesSingleProfiles = true,
};

constexpr FamilyFacts kChromiumFacts{
    .helperMarks = {"--type="},
    .folderOptions = {"--user-data-dir="},
    .filesOfDataFolder = {"Local State"},
    .filesOfProfile = {"Preferences", "Login Data"},  // the first is written only some seconds after the others
};

}  // namespace

const FamilyFacts& factsOf(Family family) {
  switch (family) {
    case Family::kFirefox:
      return kFirefoxFacts;
    case Family::kChromium:
      return kChromiumFacts;
    case Family::kSafari:
      break;
  }
  return kSafariFacts;
}

}  // namespace tidewell
