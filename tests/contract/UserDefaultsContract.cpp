// The contract of the settings, for both implementations: the one in memory that tests use, and the one on the disk.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "Platform/Linux/settings/SqliteUserDefaults.h"
#include "tests/support/Fakes.h"
#include "tests/support/ScratchFolder.h"

namespace {

using platform::Value;

struct InMemory {
  testing_support::Journal journal;
  testing_support::MemoryUserDefaults domains{journal};
};

struct OnDisk {
  testing_support::ScratchFolder folder;
  testing_support::FakeLog log;
  platform::linux_::SqliteUserDefaults domains{folder.path("tidewell"), "own", log};
};

template <typename Implementation>
class UserDefaultsContract : public ::testing::Test {
 protected:
  Implementation implementation;
  platform::UserDefaultsDomains& domains = implementation.domains;
};

using Implementations = ::testing::Types<InMemory, OnDisk>;
TYPED_TEST_SUITE(UserDefaultsContract, Implementations);

TYPED_TEST(UserDefaultsContract, absentKeysHaveNoValue) {
  const auto suite = this->domains.suite("shared");
  EXPECT_FALSE(suite->objectForKey("missing"));
  EXPECT_FALSE(suite->boolForKey("missing"));
  EXPECT_FALSE(suite->stringForKey("missing"));
  EXPECT_FALSE(suite->arrayForKey("missing"));
  EXPECT_FALSE(suite->dataForKey("missing"));
  EXPECT_TRUE(suite->dictionaryRepresentation().empty());
}

TYPED_TEST(UserDefaultsContract, aCheckedReadTellsAnAbsentKeyFromAFailure) {
  const auto suite = this->domains.suite("shared");
  ASSERT_TRUE(suite->checkedObjectForKey("missing"));
  EXPECT_FALSE(*suite->checkedObjectForKey("missing"));
  suite->setObject(3, "key");
  EXPECT_EQ(*suite->checkedObjectForKey("key"), Value(3));
}

TYPED_TEST(UserDefaultsContract, valuesOfEveryTypeComeBackAsTheyWere) {
  const auto suite = this->domains.suite("shared");
  const Value::Array array{Value(true), Value("text"), Value(Value::Array{Value(1)})};
  const std::vector<Value> values = {
      true,
      false,
      0,
      std::numeric_limits<std::int64_t>::min(),
      std::numeric_limits<std::int64_t>::max(),
      0.1,
      -1e300,
      "",
      std::string("NUL \0 inside", 12),
      std::string("\xff\xfe not UTF-8"),
      platform::dataFromBytes(std::string(100'000, '\0')),
      platform::Data(),
      platform::Date(std::chrono::seconds(1'700'000'000)),
      platform::Date(std::chrono::seconds(-5)),
      array,
      Value::Array(),
      Value::Dictionary{{"a", 1}, {"", array}},
      Value::Dictionary(),
  };
  for (const Value& value : values) {
    suite->setObject(value, "key");
    EXPECT_EQ(suite->objectForKey("key"), value) << value.description();
  }
}

TYPED_TEST(UserDefaultsContract, typedReadsOfAnotherTypeAreNone) {
  const auto suite = this->domains.suite("shared");
  suite->setObject(1, "number");
  suite->setObject("YES", "text");
  suite->setObject(true, "yes");
  EXPECT_FALSE(suite->boolForKey("number"));
  EXPECT_FALSE(suite->boolForKey("text"));
  EXPECT_TRUE(suite->boolForKey("yes"));
  EXPECT_FALSE(suite->stringForKey("number"));
  EXPECT_FALSE(suite->arrayForKey("text"));
  EXPECT_FALSE(suite->dataForKey("text"));
}

TYPED_TEST(UserDefaultsContract, writesReplace) {
  const auto suite = this->domains.suite("shared");
  suite->setObject("one", "key");
  suite->setObject(2, "key");
  EXPECT_EQ(suite->objectForKey("key"), Value(2));
  EXPECT_EQ(suite->dictionaryRepresentation().size(), 1U);
}

TYPED_TEST(UserDefaultsContract, removedKeysAreAbsent) {
  const auto suite = this->domains.suite("shared");
  suite->setObject("one", "key");
  suite->removeObjectForKey("key");
  suite->removeObjectForKey("never there");
  EXPECT_FALSE(suite->objectForKey("key"));
}

TYPED_TEST(UserDefaultsContract, domainsAreApart) {
  this->domains.suite("shared")->setObject(1, "key");
  EXPECT_FALSE(this->domains.suite("other")->objectForKey("key"));
  EXPECT_FALSE(this->domains.standardUserDefaults()->objectForKey("key"));
}

TYPED_TEST(UserDefaultsContract, everyoneSeesWhatWasWrittenLast) {
  const auto early = this->domains.suite("shared");
  EXPECT_FALSE(early->objectForKey("key"));
  this->domains.suite("shared")->setObject(1, "key");
  EXPECT_EQ(early->objectForKey("key"), Value(1));
  EXPECT_TRUE(early->synchronize());
}

TYPED_TEST(UserDefaultsContract, keysAreAnyText) {
  const auto suite = this->domains.suite("shared");
  for (const std::string key : {"", "a'b\"c", "bd_file:///x%20y/", "é", "\xff"}) {
    suite->setObject(key, key);
    EXPECT_EQ(suite->stringForKey(key), key);
  }
}

}  // namespace
