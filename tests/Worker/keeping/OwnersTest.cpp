// Whose data is, by what browsers write down with it.

#include <gmock/gmock.h>

#include "Worker/keeping/OriginAttributes.h"
#include "Worker/keeping/StorageKey.h"

namespace {

using tidewell::Owner;

/// "host", or "host in site"; "" for none.
std::string text(const std::optional<Owner>& owner) {
  if (!owner) return "";
  return owner->topLevelSite ? owner->host + " in " + *owner->topLevelSite : owner->host;
}

TEST(AStorageKey, namesAnOriginAndTheSiteAroundIt) {
  using tidewell::ownerByStorageKey;
  EXPECT_EQ(text(ownerByStorageKey("https://a.test")), "a.test");
  EXPECT_EQ(text(ownerByStorageKey("https://a.test/")), "a.test");
  EXPECT_EQ(text(ownerByStorageKey("http://a.test:8080/")), "a.test");
  EXPECT_EQ(text(ownerByStorageKey("https://a.test/^0https://b.test")), "a.test in b.test");
  EXPECT_EQ(text(ownerByStorageKey("https://a.test:8443/^0http://b.test")), "a.test in b.test");
  EXPECT_EQ(text(ownerByStorageKey("https://[::1]:80/^0https://[::2]")), "[::1] in [::2]");
  EXPECT_EQ(text(ownerByStorageKey("https://a.test/^31")), "a.test");
}

TEST(AStorageKey, withANonceOrAnOpaqueOriginHasNoOwner) {
  for (const char* key : {"https://a.test/^11234^25678", "https://a.test/^41^52^6https://b.test", "https://a.test/^32",
                          "https://a.test/^0https://b.test^11^22", "https://a.test/^0", "https://a.test/^0b.test",
                          "https://a.test/^", "^0https://a.test", "chrome-extension://abc/", "file:///", "null", ""}) {
    EXPECT_EQ(text(tidewell::ownerByStorageKey(key)), "") << key;
  }
}

TEST(AnIdentifier, isSplitAtItsFirstAndItsLastLine) {
  using tidewell::ownerByIdentifier;
  EXPECT_EQ(text(ownerByIdentifier("https_a.test_0")), "a.test");
  EXPECT_EQ(text(ownerByIdentifier("http_under_score.a.test_8080")), "under_score.a.test");
  EXPECT_EQ(text(ownerByIdentifier("http_[__1]_8080")), "[::1]");
  for (const char* identifier : {"https_a.test", "https_a.test_", "https_a.test_x", "_a.test_0", "__0", "file__0",
                                 "chrome-extension_abc_0", "https__0", "", "_", "a.test"}) {
    EXPECT_EQ(text(ownerByIdentifier(identifier)), "") << identifier;
  }
}

TEST(AnOrigin, hasAttributes) {
  using tidewell::ownerByOrigin;
  EXPECT_EQ(text(ownerByOrigin("https://a.test")), "a.test");
  EXPECT_EQ(text(ownerByOrigin("https://a.test:8443^userContextId=2")), "a.test");
  EXPECT_EQ(text(ownerByOrigin("https://a.test^partitionKey=%28https%2Cb.test%29")), "a.test in b.test");
  EXPECT_EQ(text(ownerByOrigin("https://a.test^userContextId=2&partitionKey=%28http%2Cb.test%2C8080%2Cf%29")),
            "a.test in b.test");
  EXPECT_EQ(text(ownerByOrigin("https://a.test^partitionKey=%28https%2C%5B%3A%3A1%5D%29")), "a.test in [::1]");
  EXPECT_EQ(text(ownerByOrigin("https://a.test^partitionKey=b.test")), "a.test in b.test");
  EXPECT_EQ(text(ownerByOrigin("https://a.test^firstPartyDomain=b.test")), "a.test in b.test");
  EXPECT_EQ(text(ownerByOrigin("https://a.test^unknownAttribute=2")), "a.test");
}

TEST(AnOrigin, ofAPrivateWindowOrOfNoSiteHasNoOwner) {
  for (const char* origin :
       {"https://a.test^privateBrowsingId=1", "moz-nullprincipal:{0}", "moz-extension://0af1", "about:home", "",
        "https://a.test^partitionKey=%28https", "https://a.test^partitionKey=%28https%29",
        "https://a.test^partitionKey=%28https%2C%29", "https://a.test^userContextId", "https://a.test^partitionKey=%2",
        "https://a.test^partitionKey=b.test&firstPartyDomain=c.test"}) {
    EXPECT_EQ(text(tidewell::ownerByOrigin(origin)), "") << origin;
  }
}

TEST(AFolder, isAnOriginWithOtherSigns) {
  using tidewell::ownerByFolder;
  EXPECT_EQ(text(ownerByFolder("https+++a.test")), "a.test");
  EXPECT_EQ(text(ownerByFolder("http+++a.test+8080^userContextId=2")), "a.test");
  EXPECT_EQ(text(ownerByFolder("http+++[++1]+8080")), "[::1]");
  EXPECT_EQ(text(ownerByFolder("https+++a.test^partitionKey=%28https%2Cb.test%29")), "a.test in b.test");
  for (const char* name :
       {"moz-extension+++0af1", "a.test", "", "file++++home+ann", "https+++", "about+home", "https+++a.test+b.test"}) {
    EXPECT_EQ(text(ownerByFolder(name)), "") << name;
  }
}

TEST(AScope, isAnOriginWithItsHostInReverseOrder) {
  using tidewell::ownerByScope;
  EXPECT_EQ(text(ownerByScope("tset.a.:https:443")), "a.test");
  EXPECT_EQ(text(ownerByScope("tset.a.www.:http:80")), "www.a.test");
  EXPECT_EQ(text(ownerByScope("0:f:^userContextId=2:tset.a.:https:443")), "a.test");
  EXPECT_EQ(text(ownerByScope("0:f:^partitionKey=%28https%2Cb.test%29:tset.a.:https:443")), "a.test in b.test");
  EXPECT_EQ(text(ownerByScope("]1::[.:http:80")), "[::1]");
  EXPECT_EQ(text(ownerByScope("0:t:]1::[.:http:80")), "[::1]");
  for (const char* scope : {"", ":", "::", "tset.a.:https", "tset.a:https:443", ".:https:443",
                            "1fa0:moz-extension:", "0:f:^privateBrowsingId=1:tset.a.:https:443"}) {
    EXPECT_EQ(text(ownerByScope(scope)), "") << scope;
  }
}

}  // namespace
