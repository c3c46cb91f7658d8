// Firefox's list of profiles.

#include <gmock/gmock.h>

#include "Worker/formats/ProfilesIni.h"
#include "tests/support/ListedProfiles.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using testing_support::absoluteProfiles;
using testing_support::nestedProfiles;
using Texts = std::vector<std::string>;

std::string list(const std::string& path, const std::string& isRelative = "0") {
  return "[Profile0]\nName=ann\nIsRelative=" + isRelative + "\nPath=" + path + "\nDefault=1\n";
}

TEST(ProfilesIni, placedByAWholePathAreFoundAlone) {
  EXPECT_THAT(
      absoluteProfiles("[Install4F96D1932A9F858E]\nDefault=Profiles/x\n\n" + list("ann.default", "1") +
                       "\n[Profile1]\nIsRelative=0\nPath=/srv/ann\n\n[Profile2]\nPath=/srv/b b/c\nIsRelative=0\n"
                       "[General]\nVersion=2\nPath=/no/profile\n"),
      ElementsAre("/srv/ann", "/srv/b b/c"));
}

TEST(ProfilesIni, mayBeListedInAnyFormOfText) {
  EXPECT_THAT(absoluteProfiles("[Profile0]\r\nPath=/srv/ann\r\n"), ElementsAre("/srv/ann"));
  EXPECT_THAT(absoluteProfiles("  [Profile0]\n\t Path=/srv//ann/ \t"), ElementsAre("/srv/ann"));
  EXPECT_THAT(absoluteProfiles("[Profile0]\nPath=/srv/ann"), ElementsAre("/srv/ann"));
  EXPECT_THAT(absoluteProfiles("[Profile0]\nPath=/srv/\xff"), ElementsAre("/srv/\xff"));
}

TEST(ProfilesIni, areNoneThatLeadUpOrNowhere) {
  for (const char* path : {"", "/", "//", "..", "../x", "/srv/../etc", "/srv/./ann", "/..", "ann", "./ann/x",
                           "ann/../x", "a/..", "~/x/.."}) {
    EXPECT_THAT(absoluteProfiles(list(path)), IsEmpty()) << path;
    EXPECT_THAT(nestedProfiles(list(path, "1")), IsEmpty()) << path;
  }
  EXPECT_THAT(absoluteProfiles("Path=/srv/ann\n"), IsEmpty());
  EXPECT_THAT(absoluteProfiles(""), IsEmpty());
  EXPECT_THAT(absoluteProfiles("[Profile0]\n# Path=/srv/ann\n;Path=/srv/b\npath=/srv/c\n"), IsEmpty());
}

TEST(ProfilesIni, mayLieDeeper) {
  EXPECT_THAT(nestedProfiles(list("Profiles/ann.default", "1") + list("ann", "1") + list("/srv/ann")),
              ElementsAre("Profiles/ann.default"));
}

TEST(ProfilesIni, canBeMany) {
  std::string many;
  for (int number = 0; number < 100'000; ++number) many += list("/srv/" + std::to_string(number));
  EXPECT_THAT(absoluteProfiles(many), SizeIs(100'000));
  EXPECT_THAT(absoluteProfiles(std::string(10'000'000, '\n')), IsEmpty());
  EXPECT_THAT(absoluteProfiles("[Profile0]\nPath=/" + std::string(10'000'000, 'a')), SizeIs(1));
}

}  // namespace
