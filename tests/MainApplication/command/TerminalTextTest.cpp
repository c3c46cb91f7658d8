// What the command prints of names that somebody else has chosen.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/DefaultsCommand.h"
#include "Platform/FileURL.h"
#include "Worker/Identity.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kName[] =
    "a\x1b[2J\nb\xE2\x80\xAE"
    "c\xC2\x9B";
constexpr char kShown[] = "a\\x1b[2J\\nb\\u202ec\\u009b";

class TerminalText : public ::testing::Test {
 protected:
  TerminalText() { domains.fileOfDomain(tidewell::kSharedSuite)->write(tidewell::kUserFolderKey, home.path()); }

  tidewell::Commands commands(bool json = false) { return {domains, {.json = json, .verbose = true}, output, errors}; }

  testing_support::ScratchFolder home;
  testing_support::ScratchFolder settingsFolder;
  testing_support::FakeLog log;
  platform::linux_::SqliteUserDefaults domains{settingsFolder.path(), "own", log};
  std::ostringstream output;
  std::ostringstream errors;
};

TEST_F(TerminalText, ofErrorsHasNoControls) {
  commands().revoke(std::string("/") + kName);
  commands().enable({kName});
  EXPECT_THAT(errors.str(), HasSubstr(std::string("there is no grant of /") + kShown + ":"));
  EXPECT_THAT(errors.str(), HasSubstr(std::string("there is no browser \"") + kShown + "\""));
  EXPECT_THAT(errors.str(), Not(HasSubstr("\x1b")));
}

TEST_F(TerminalText, ofGrantsHasNoControls) {
  const platform::FileURL url(std::string("/") + kName, true);
  domains.fileOfDomain(tidewell::kBundleIdentifier)->write("bd_" + url.absoluteString(), true);
  commands().grants();
  EXPECT_EQ(output.str(), std::string("/") + kShown + "\n");
  output.str("");
  commands(true).grants();
  EXPECT_THAT(output.str(), HasSubstr("a\\u001b[2J\\nb\\u202ec\\u009b"));
}

TEST_F(TerminalText, ofBrowsersFoldersAndOfAPreviewHasNoControls) {
  const std::string profile = std::string("Disk/") + kName;
  home.file(profile + "/prefs.js");
  home.file(profile + "/cookies.sqlite");
  using platform::Value;
  domains.fileOfDomain(tidewell::kSharedSuite)
      ->write(tidewell::kStartedWithKey,
              Value::Array{Value(Value::Array{Value("org.mozilla.firefox"), Value(home.path(profile))})});
  commands().status();
  commands().preview("firefox");
  EXPECT_THAT(output.str(), HasSubstr(home.path("Disk/") + kShown + "\n"));
  EXPECT_THAT(output.str(), HasSubstr(home.path("Disk/") + kShown + "/cookies.sqlite"));
  EXPECT_THAT(output.str(), Not(HasSubstr("\x1b")));
}

TEST_F(TerminalText, ofSettingsHasNoControls) {
  using platform::Value;
  const Value text{std::string(kName)};
  domains.fileOfDomain("any")->write(kName, Value::Array{text, Value::Dictionary{{kName, text}}});
  tidewell::DefaultsCommand defaults(domains, output, errors);
  EXPECT_EQ(defaults.run({"read", "any"}), tidewell::kDone);
  EXPECT_EQ(defaults.run({"read", "any", kName}), tidewell::kDone);
  EXPECT_THAT(output.str(), HasSubstr(kShown));
  EXPECT_THAT(output.str(), Not(HasSubstr(kName)));
  EXPECT_THAT(output.str(), Not(HasSubstr("\x1b")));
  defaults.run({"read", "any", std::string("no ") + kName});
  defaults.run({"read", std::string("none") + kName});
  defaults.run({kName, "any"});
  EXPECT_THAT(errors.str(), HasSubstr(std::string("no ") + kShown));
  EXPECT_THAT(errors.str(), HasSubstr(std::string("\"") + kShown));
  EXPECT_THAT(errors.str(), Not(HasSubstr("\x1b")));
}

}  // namespace
