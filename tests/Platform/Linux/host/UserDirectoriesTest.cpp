// The person's standard folders.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "Platform/Linux/host/UserDirectories.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::linux_::userDirectories;
using platform::linux_::userDirectoriesIn;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using testing_support::ScratchFolder;

TEST(UserDirectories, areReadAsTheirListIsWritten) {
  const std::string list =
      "# comment\n"
      "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
      "  XDG_DOCUMENTS_DIR=\"/data/ann/My \\\"papers\\\"/\"\n"
      "XDG_MUSIC_DIR=\"$HOME\"\n"
      "XDG_VIDEOS_DIR=\"$HOME/\"\r\n"
      "XDG_PUBLICSHARE_DIR=\"relative\"\nXDG_TEMPLATES_DIR=/unquoted\nXDG_PICTURES_DIR=\nDIR=\"/x\"\n"
      "XDG_PICTURES_DIR=\"$HOMER/x\"\n"
      "XDG_DOWNLOAD_DIR=\"$HOME/open";
  EXPECT_THAT(userDirectoriesIn(list, "/home/ann"), ElementsAre("/home/ann/Schreibtisch", "/data/ann/My \"papers\"",
                                                                "/home/ann", "/home/ann", "/home/ann/open"));
  EXPECT_THAT(userDirectoriesIn("", "/home/ann"), IsEmpty());
}

TEST(UserDirectories, areThoseOfEveryListAndTheUsualOnes) {
  const ScratchFolder home;
  home.file(".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Geladen\"\n");
  home.file("moved/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"/data/in\"\n");
  EXPECT_THAT(userDirectories(home.path(), {home.path("moved"), home.path(".config"), home.path("missing")}),
              IsSupersetOf({home.path("Desktop"), home.path("Documents"), home.path("Downloads"), home.path("Music"),
                            home.path("Pictures"), home.path("Public"), home.path("Templates"), home.path("Videos"),
                            home.path("Geladen"), std::string("/data/in")}));
}

TEST(UserDirectories, areThoseThatTheSessionNames) {
  ::setenv("XDG_VIDEOS_DIR", "/data//films/", 1);
  ::setenv("XDG_MUSIC_DIR", "relative", 1);
  const std::vector<std::string> folders = userDirectories("/home/ann", {});
  ::unsetenv("XDG_VIDEOS_DIR");
  ::unsetenv("XDG_MUSIC_DIR");
  EXPECT_THAT(folders, Contains("/data/films"));
  EXPECT_THAT(folders, Not(Contains("relative")));
}

TEST(UserDirectories, doNotWaitForAListThatIsAPipe) {
  const ScratchFolder home;
  ASSERT_EQ(::mkfifo(home.path("user-dirs.dirs").c_str(), 0600), 0);
  EXPECT_THAT(userDirectories(home.path(), {home.path()}), Contains(home.path("Videos")));
}

}  // namespace
