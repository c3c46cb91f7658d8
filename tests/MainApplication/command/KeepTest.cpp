// "tidewell keep": the list of sites that stay.

#include <gmock/gmock.h>

#include <sstream>

#include "MainApplication/command/Commands.h"
#include "MainApplication/command/KeptSitesText.h"
#include "Worker/Identity.h"
#include "tests/support/Databases.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::Value;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Optional;
using tidewell::Commands;
using Texts = std::vector<std::string>;

class Keep : public ::testing::Test {
 protected:
  int keep(const Texts& sites, Commands::Options options = {}) {
    output.str("");
    errors.str("");
    return Commands(domains, options, output, errors).keep(sites);
  }
  int remove(const Texts& sites) {
    Commands::Options options;
    options.remove = true;
    return keep(sites, options);
  }
  int import(const std::string& name, const std::string& contents) {
    folder.file(name, contents);
    Commands::Options options;
    options.importFrom = folder.path(name);
    return keep({}, options);
  }
  std::string list(bool json = false) {
    Commands::Options options;
    options.list = true;
    options.json = json;
    status = keep({}, options);
    return output.str();
  }
  void set(const Value& value) { settings().write(tidewell::kKeptSitesKey, value); }
  platform::linux_::DefaultsFile& settings() { return *domains.fileOfDomain(tidewell::kSharedSuite); }

  testing_support::ScratchFolder folder;
  testing_support::FakeLog log;
  platform::linux_::SqliteUserDefaults domains{folder.path("settings"), tidewell::kBundleIdentifier, log};
  std::ostringstream output, errors;
  int status = -1;
};

TEST_F(Keep, addsSitesInOneForm) {
  EXPECT_EQ(keep({"A.Test.", "=www.b.test", "b\u00fccher.test", "[::1]"}), 0);
  EXPECT_EQ(keep({"https://a.test/page", "*.c.test", "d.test:8080"}), 0);
  EXPECT_EQ(settings().read(tidewell::kKeptSitesKey),
            Value(Value::Array{"a.test", "=www.b.test", "xn--bcher-kva.test", "[::1]", "c.test", "d.test"}));
  EXPECT_EQ(list(), "a.test\n=www.b.test\nxn--bcher-kva.test\n[::1]\nc.test\nd.test\n");
  EXPECT_THAT(list(true), HasSubstr("\"=www.b.test\""));
}

TEST_F(Keep, takesNothingWhenOneIsNoSite) {
  for (const char* text : {"com", "co.uk", "=co.uk", "not a site", "", "ftp:a", "*", "https://"}) {
    EXPECT_EQ(keep({"a.test", text}), 2) << text;
    EXPECT_THAT(errors.str(), HasSubstr("is no site that can be kept"));
  }
  EXPECT_EQ(list(), "");
  EXPECT_EQ(status, 0);
}

TEST_F(Keep, takesSitesOffTheList) {
  keep({"a.test", "=a.test", "b.test"});
  EXPECT_EQ(remove({"A.test"}), 0);
  EXPECT_EQ(list(), "=a.test\nb.test\n");
  EXPECT_EQ(remove({"c.test"}), 1);
  set(Value::Array{"a.test", "com"});
  EXPECT_THAT(list(), HasSubstr("com   is no site"));
  EXPECT_EQ(remove({"com"}), 0) << "also what is no site";
  EXPECT_EQ(list(), "a.test\n");
}

TEST_F(Keep, changesNoListThatCanNotBeRead) {
  for (const Value& value : {Value("a.test"), Value(Value::Array{3})}) {
    set(value);
    EXPECT_EQ(keep({"b.test"}), 1);
    EXPECT_THAT(errors.str(), HasSubstr("can't be read"));
    EXPECT_EQ(settings().read(tidewell::kKeptSitesKey), value);
    list();
    EXPECT_EQ(status, 1);
  }
}

TEST_F(Keep, doesOneThingAtATime) {
  Commands::Options both;
  both.list = both.remove = true;
  EXPECT_EQ(keep({"a.test"}, both), 2);
  EXPECT_EQ(remove({}), 2);
  Commands::Options importing;
  importing.importFrom = folder.file("list", "[]");
  EXPECT_EQ(keep({"a.test"}, importing), 2);
  EXPECT_EQ(list(), "");
}

TEST_F(Keep, importsListsOfOtherPrograms) {
  EXPECT_EQ(import("texts", R"(["a.test", "*.b.test", "/regular.*expression/", "a.test", "com"])"), 0);
  EXPECT_EQ(output.str(), "2 sites added; 2 lines passed over\n");
  EXPECT_EQ(import("objects", R"([{"host": "c.test", "x": 1}, {"domain": ".d.test"}, {"url": "https://e.test/p"}])"),
            0);
  EXPECT_EQ(import("lists", R"({"default": [{"expression": "f.test", "listType": "WHITE"},)"
                            R"({"expression": "g.test", "listType": "GREY"}], "version": 3})"),
            0);
  EXPECT_EQ(list(), "a.test\nb.test\nc.test\nd.test\ne.test\nf.test\n");
}

TEST_F(Keep, importsTheRulesOfChromiumThatAllow) {
  EXPECT_EQ(import("Preferences", R"({"profile": {"content_settings": {"exceptions": {"cookies": {)"
                                  R"("[*.]a.test,*": {"setting": 1}, "https://b.test:443,*": {"setting": 1},)"
                                  R"("c.test,*": {"setting": 2}, "d.test,*": {"setting": 4},)"
                                  R"("e.test,https://f.test": {"setting": 1}, "*,[*.]g.test": {"setting": 1}}}}}})"),
            0);
  EXPECT_EQ(list(), "a.test\n=b.test\n");
}

TEST_F(Keep, importsTheRulesOfFirefoxThatAllow) {
  const std::string path = folder.path("permissions.sqlite");
  testing_support::runStatements(
      path,
      "CREATE TABLE moz_perms (origin TEXT, type TEXT, permission INTEGER);"
      "INSERT INTO moz_perms VALUES ('https://a.test', 'cookie', 1), ('http://b.test:81', 'cookie', 2),"
      " ('https://c.test', 'cookie', 8), ('https://d.test^userContextId=1', 'cookie', 1),"
      " ('https://e.test', 'geo', 1), ('moz-extension://0af1', 'cookie', 1);");
  Commands::Options options;
  options.importFrom = path;
  EXPECT_EQ(keep({}, options), 0);
  EXPECT_EQ(list(), "a.test\nd.test\n");
}

TEST_F(Keep, importsNothingFromOtherFiles) {
  for (const char* text : {"", "a.test", "3", "{\"a\": 3}", "[3]", "[", "SQLite format 3 and no more", "[[[[3]]]]"}) {
    EXPECT_EQ(import("file", text), 1) << text;
  }
  Commands::Options options;
  options.importFrom = folder.path("missing");
  EXPECT_EQ(keep({}, options), 1);
  EXPECT_EQ(list(), "");
}

}  // namespace
