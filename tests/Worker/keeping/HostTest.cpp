// Names of hosts in one form.

#include <gmock/gmock.h>

#include "Worker/keeping/Host.h"

namespace {

using ::testing::Eq;
using ::testing::Optional;
using tidewell::canonicalHost;
using tidewell::hostOfAddress;
using tidewell::isAddress;
using tidewell::isPublicSuffix;

TEST(Host, isTheSameInCapitalsAndWithADotAtItsEnd) {
  EXPECT_THAT(canonicalHost("Www.A.Test"), Optional(Eq("www.a.test")));
  EXPECT_THAT(canonicalHost("a.test."), Optional(Eq("a.test")));
  EXPECT_THAT(canonicalHost("under_score.a.test"), Optional(Eq("under_score.a.test")));
}

TEST(Host, isTheSameInUnicode) {
  EXPECT_THAT(canonicalHost("b\u00fccher.test"), Optional(Eq("xn--bcher-kva.test")));
  EXPECT_THAT(canonicalHost("B\u00dcCHER.test."), Optional(Eq("xn--bcher-kva.test")));
  EXPECT_THAT(canonicalHost("bu\u0308cher.test"), Optional(Eq("xn--bcher-kva.test")));
  EXPECT_THAT(canonicalHost("XN--Bcher-Kva.test"), Optional(Eq("xn--bcher-kva.test")));
  EXPECT_THAT(canonicalHost("\u4f8b\u3048\u3002\u30c6\u30b9\u30c8"), Optional(Eq("xn--r8jz45g.xn--zckzah")));
}

TEST(Host, canBeAnAddress) {
  EXPECT_THAT(canonicalHost("127.0.0.1"), Optional(Eq("127.0.0.1")));
  EXPECT_THAT(canonicalHost("127.0.0.1."), Optional(Eq("127.0.0.1")));
  for (const char* text : {"::1", "[::1]", "[0:0:0::1]", "0::0001"}) {
    EXPECT_THAT(canonicalHost(text), Optional(Eq("[::1]"))) << text;
  }
  EXPECT_THAT(canonicalHost("[2001:DB8::A]"), Optional(Eq("[2001:db8::a]")));
  EXPECT_TRUE(isAddress("127.0.0.1"));
  EXPECT_TRUE(isAddress("[::1]"));
  EXPECT_FALSE(isAddress("1.a.test"));
}

TEST(Host, isNotAnyText) {
  using namespace std::string_view_literals;
  for (const std::string_view text :
       {""sv, "."sv, "a..test"sv, ".a.test"sv, "a test"sv, "a.test/"sv, "https://a.test"sv, "a.test:80"sv, "*.a.test"sv,
        "=a.test"sv, "1.2.3"sv, "1.2.3.4.5"sv, "a.0x1f"sv, "256.1.1.1"sv, "[::1"sv, "fe80::1%eth0"sv, "a\0.test"sv,
        "\xff\xfe.test"sv}) {
    EXPECT_EQ(canonicalHost(text), std::nullopt) << text;
  }
  EXPECT_EQ(canonicalHost(std::string(64, 'a') + ".test"), std::nullopt);
  std::string longName;
  while (longName.size() < 254) longName += "a.";
  EXPECT_EQ(canonicalHost(longName + "test"), std::nullopt);
  EXPECT_EQ(canonicalHost(std::string(1 << 20, 'a')), std::nullopt);
}

TEST(Host, ofAnAddressIsWithoutPortAndPage) {
  EXPECT_THAT(hostOfAddress("https://A.test"), Optional(Eq("a.test")));
  EXPECT_THAT(hostOfAddress("http://a.test:8080/page?b#c"), Optional(Eq("a.test")));
  EXPECT_THAT(hostOfAddress("https://[::1]:8443/"), Optional(Eq("[::1]")));
  EXPECT_THAT(hostOfAddress("https://[::1]"), Optional(Eq("[::1]")));
  for (const char* text : {"chrome-extension://abc", "file:///home", "https:a.test", "a.test", "https://b@a.test",
                           "blob:https://a.test", "", "://", "https://"}) {
    EXPECT_EQ(hostOfAddress(text), std::nullopt) << text;
  }
}

TEST(PublicSuffixes, haveSitesOfDifferentOwnersBelowThem) {
  for (const char* suffix : {"com", "co.uk", "github.io", "xn--fiqs8s", "xn--55qx5d.cn"}) {
    EXPECT_TRUE(isPublicSuffix(suffix)) << suffix;
  }
  for (const char* site : {"localhost", "nas", "a.test", "bbc.co.uk", "someone.github.io"}) {
    EXPECT_FALSE(isPublicSuffix(site)) << site;
  }
}

}  // namespace
