// Which hosts, cookies and sites a list of kept sites is about.

#include <gmock/gmock.h>

#include "Worker/keeping/KeptSites.h"

namespace {

using ::testing::Eq;
using ::testing::Optional;
using tidewell::KeptSites;
using tidewell::Owner;
using Value = platform::Value;

KeptSites listOf(std::vector<std::string> entries) {
  return KeptSites::of(entries);
}

TEST(AnEmptyList, keepsNothing) {
  for (const KeptSites& sites : {KeptSites(), listOf({}), KeptSites::from(Value::Array())}) {
    EXPECT_TRUE(sites.isEmpty());
    EXPECT_FALSE(sites.isUnknown());
    EXPECT_FALSE(sites.keepsHost("a.test"));
    EXPECT_FALSE(sites.keepsCookieOf(".a.test"));
    EXPECT_FALSE(sites.keepsSite("a.test"));
  }
}

TEST(AList, isTheSameWhenItIsMadeOfItsParts) {
  const KeptSites sites = listOf({"www.a.test", "=b.c.test", "127.0.0.1", "localhost"});
  const KeptSites same = KeptSites::ofParts(sites.parts());
  for (const char* host : {"www.a.test", "x.www.a.test", "a.test", "b.c.test", "x.b.c.test", "c.test", "127.0.0.1",
                           "localhost", "x.localhost", "d.test", "test"}) {
    EXPECT_EQ(same.keepsHost(host), sites.keepsHost(host)) << host;
    EXPECT_EQ(same.keepsCookieOf(std::string(".") + host), sites.keepsCookieOf(std::string(".") + host)) << host;
    EXPECT_EQ(same.keepsSite(host), sites.keepsSite(host)) << host;
  }
  EXPECT_TRUE(KeptSites::ofParts(KeptSites::unknown().parts()).isUnknown());
  EXPECT_TRUE(KeptSites::ofParts(KeptSites().parts()).isEmpty());
}

TEST(AnEntry, isAboutTheHostAndAllBelowItLabelByLabel) {
  const KeptSites sites = listOf({"a.test"});
  for (const char* host : {"a.test", "www.a.test", "x.y.a.test", "A.TEST", "a.test."}) {
    EXPECT_TRUE(sites.keepsHost(host)) << host;
  }
  for (const char* host : {"b.test", "aa.test", "xa.test", "test", "a.test.b.test", "a-a.test", "", ".a.test"}) {
    EXPECT_FALSE(sites.keepsHost(host)) << host;
  }
}

TEST(AnEntry, withASignIsAboutTheHostAlone) {
  const KeptSites sites = listOf({"=www.a.test"});
  EXPECT_TRUE(sites.keepsHost("www.a.test"));
  EXPECT_FALSE(sites.keepsHost("x.www.a.test"));
  EXPECT_FALSE(sites.keepsHost("a.test"));
}

TEST(AnEntry, canBeWrittenInManyWays) {
  EXPECT_TRUE(listOf({"B\u00dcCHER.test."}).keepsHost("www.xn--bcher-kva.test"));
  EXPECT_TRUE(listOf({"xn--bcher-kva.test"}).keepsHost("b\u00fccher.test"));
  EXPECT_TRUE(listOf({"::1"}).keepsHost("[0::1]"));
  EXPECT_TRUE(listOf({"=[::1]"}).keepsHost("::1"));
  EXPECT_THAT(KeptSites::canonicalEntry("=A.Test."), Optional(Eq("=a.test")));
}

TEST(AnEntry, thatIsAnAddressOrHasOneLabelIsAboutTheHostAlone) {
  const KeptSites sites = listOf({"127.0.0.1", "localhost"});
  EXPECT_TRUE(sites.keepsHost("127.0.0.1"));
  EXPECT_TRUE(sites.keepsHost("localhost"));
  EXPECT_FALSE(sites.keepsHost("x.localhost"));
  EXPECT_FALSE(sites.keepsHost("127.0.0.2"));
  EXPECT_FALSE(sites.keepsHost("0.0.1"));
}

TEST(AnEntry, isNoSuffixWithSitesOfDifferentOwnersBelowIt) {
  for (const char* entry : {"com", "co.uk", "=co.uk", "github.io", "CO.UK.", "", "=", "==a.test", "*.a.test", ".a.test",
                            "https://a.test", "a.test:80", "a b.test"}) {
    EXPECT_EQ(KeptSites::canonicalEntry(entry), std::nullopt) << entry;
    EXPECT_TRUE(listOf({"a.test", entry}).isUnknown()) << entry;
  }
}

TEST(AList, thatIsNoneIsUnknown) {
  Value::Array nested;  // not in braces: compilers take an array in an array for a copy of it or not
  nested.emplace_back(Value::Array{"a.test"});
  for (const Value& value : {Value("a.test"), Value(true), Value(3), Value(Value::Dictionary()),
                             Value(Value::Array{"a.test", 3}), Value(nested)}) {
    EXPECT_TRUE(KeptSites::from(value).isUnknown()) << value.description();
    EXPECT_FALSE(KeptSites::from(value).isEmpty());
  }
  EXPECT_FALSE(KeptSites::from(Value::Array{"a.test"}).isUnknown());
  EXPECT_TRUE(KeptSites::from(Value::Array{"a.test", 1}).isUnknown());
  EXPECT_TRUE(KeptSites::from(Value::Array{1}).isUnknown());
}

TEST(CookiesOfDomains, stayWhenAKeptHostReceivesThem) {
  for (const char* entry : {"www.mail.a.test", "=www.mail.a.test"}) {
    const KeptSites sites = listOf({entry});
    for (const char* domain : {"www.mail.a.test", ".www.mail.a.test", ".mail.a.test", ".a.test", ".A.Test."}) {
      EXPECT_TRUE(sites.keepsCookieOf(domain)) << domain;
    }
    for (const char* domain : {"mail.a.test", "a.test", ".test", ".b.test", ".other.a.test", ".", ""}) {
      EXPECT_FALSE(sites.keepsCookieOf(domain)) << domain;
    }
  }
  EXPECT_TRUE(listOf({"a.test"}).keepsCookieOf(".www.a.test"));
  EXPECT_FALSE(listOf({"=a.test"}).keepsCookieOf(".www.a.test"));
}

TEST(CookiesOfDomains, areNotThoseOfASuffixWithManyOwners) {
  EXPECT_FALSE(listOf({"someone.github.io"}).keepsSite("github.io"));
  EXPECT_FALSE(listOf({"www.bbc.co.uk"}).keepsCookieOf(".co.uk"));
  EXPECT_TRUE(listOf({"www.bbc.co.uk"}).keepsCookieOf(".bbc.co.uk"));
}

TEST(DataInsideAnotherSite, staysWhenBothAreKept) {
  const KeptSites sites = listOf({"a.test", "=www.b.test"});
  EXPECT_TRUE(sites.keeps(Owner{"a.test"}));
  EXPECT_TRUE(sites.keeps(Owner{"x.a.test", "a.test"}));
  EXPECT_TRUE(sites.keeps(Owner{"a.test", "b.test"})) << "an entry lies below it";
  EXPECT_TRUE(sites.keeps(Owner{"www.b.test", "a.test"}));
  EXPECT_FALSE(sites.keeps(Owner{"a.test", "c.test"}));
  EXPECT_FALSE(sites.keeps(Owner{"c.test", "a.test"}));
  EXPECT_FALSE(sites.keeps(Owner{"b.test", "a.test"}));
  EXPECT_TRUE(sites.keepsCookie(".b.test", "a.test"));
  EXPECT_FALSE(sites.keepsCookie(".b.test", "c.test"));
}

TEST(AList, ofTenThousandSitesFindsEach) {
  std::vector<std::string> entries;
  for (int number = 0; number < 10'000; ++number) entries.push_back("site" + std::to_string(number) + ".test");
  const KeptSites sites = listOf(entries);
  EXPECT_TRUE(sites.keepsHost("www.site9999.test"));
  EXPECT_FALSE(sites.keepsHost("www.site10000.test"));
}

TEST(KeptSites, areReadAnewWhenTheSettingIsAnother) {
  const auto keeps = [](const Value::Array& setting, const char* host) {
    return KeptSites::from(setting).keepsHost(host);
  };
  EXPECT_TRUE(keeps({"a.test", "b.test"}, "b.test"));
  EXPECT_TRUE(keeps({"a.test", "b.test"}, "b.test"));
  EXPECT_FALSE(keeps({"a.test"}, "b.test"));
  EXPECT_FALSE(keeps({"a.test", "c.test"}, "b.test"));
  EXPECT_FALSE(keeps({}, "a.test"));
  EXPECT_TRUE(keeps({"b.test"}, "b.test"));
}

}  // namespace
