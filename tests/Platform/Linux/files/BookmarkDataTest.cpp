// The bytes of a bookmark.

#include <gtest/gtest.h>

#include "Platform/Linux/files/BookmarkData.h"

namespace {

using platform::linux_::BookmarkData;

const BookmarkData kBookmark{{123456789, -5}, "/Users/ann/\xff name"};

TEST(BookmarkBytes, comeBackAsTheyWere) {
  const auto decoded = BookmarkData::decoded(kBookmark.encoded());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->identity, kBookmark.identity);
  EXPECT_EQ(decoded->path, kBookmark.path);
}

TEST(BookmarkBytes, ofWhichAnyOneWasChangedAreNone) {
  const platform::Data good = kBookmark.encoded();
  for (std::size_t index = 0; index < good.size(); ++index) {
    for (const std::uint8_t flip : std::initializer_list<std::uint8_t>{0x01, 0x80, 0xff}) {
      platform::Data damaged = good;
      damaged[index] ^= std::byte{flip};
      EXPECT_FALSE(BookmarkData::decoded(damaged)) << "byte " << index;
    }
  }
}

TEST(BookmarkBytes, thatAreTooFewOrTooManyAreNone) {
  const platform::Data good = kBookmark.encoded();
  for (std::size_t size = 0; size < good.size(); ++size) {
    EXPECT_FALSE(BookmarkData::decoded(platform::Data(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))));
  }
  platform::Data longer = good;
  longer.push_back(std::byte{0});
  EXPECT_FALSE(BookmarkData::decoded(longer));
}

TEST(BookmarkBytes, ofARelativePathAreNone) {
  EXPECT_FALSE(BookmarkData::decoded(BookmarkData{{1, 2}, "relative"}.encoded()));
  EXPECT_FALSE(BookmarkData::decoded(BookmarkData{{1, 2}, ""}.encoded()));
}

}  // namespace
