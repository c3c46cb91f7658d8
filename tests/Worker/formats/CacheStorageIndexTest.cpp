// Reading the origin from Chromium's index of caches. The samples were written by Chromium 156; host names are changed.

#include <gmock/gmock.h>

#include <random>

#include "Worker/formats/CacheStorageIndex.h"

namespace {

using ::testing::Optional;
using tidewell::originOfCacheStorage;

/// A protocol buffer field with a text of at most 16,383 bytes.
std::string field(int number, const std::string& text) {
  std::string result(1, static_cast<char>(number << 3 | 2));
  if (text.size() > 127) result += static_cast<char>((text.size() & 0x7f) | 0x80);
  return result + static_cast<char>(text.size() > 127 ? text.size() >> 7 : text.size()) + text;
}

std::string cacheNamed(const std::string& name) {
  // The fields are: name, folder, size, padding, its version, and the name again in UTF-16.
  const std::string wide = [&] {
    std::string result;
    for (const char c : name) result += {c, '\0'};
    return result;
  }();
  return field(1, field(1, name) + field(2, "1428fa9a-de3c-4b4d-bfa2-79901ca4a2e8") +
                      std::string("\x18\x80\x04\x28\x00\x30\x03", 7) + field(7, wide));
}

std::string index(const std::string& caches, const std::string& origin, const std::string& storageKey) {
  return caches + field(2, origin) + field(3, storageKey) + "\x20\x01\x28\x01";
}

TEST(CacheStorageIndex, namesTheSite) {
  const std::string site = "https://a.test:9443/";
  EXPECT_THAT(originOfCacheStorage(index(cacheNamed("sw-cache") + cacheNamed("v1"), site, site)), Optional(site));
  EXPECT_THAT(originOfCacheStorage(index("", site, site)), Optional(site));
  EXPECT_THAT(originOfCacheStorage(field(2, site)), Optional(site));
}

TEST(CacheStorageIndex, namesTheExtension) {
  const std::string extension = "chrome-extension://ddolmdhhabkhdfpbkcimbohdnjommfei/";
  EXPECT_THAT(originOfCacheStorage(index(cacheNamed("ext-cache"), extension, extension)), Optional(extension));
}

TEST(CacheStorageIndex, isNotTakenInByANameOfACache) {
  const std::string site = "https://a.test/";
  const std::string extension = "chrome-extension://ddolmdhhabkhdfpbkcimbohdnjommfei/";
  for (const auto& name : {extension, field(2, extension), field(2, extension) + field(3, extension)}) {
    EXPECT_THAT(originOfCacheStorage(index(cacheNamed(name), site, site)), Optional(site));
  }
}

TEST(CacheStorageIndex, ofAFrameNamesTheFramesOwnOrigin) {
  const std::string site = "https://b.test/";
  const std::string extension = "chrome-extension://ddolmdhhabkhdfpbkcimbohdnjommfei";
  EXPECT_THAT(originOfCacheStorage(index("", site, site + "^0" + extension)), Optional(site));
  EXPECT_THAT(originOfCacheStorage(index("", extension + "/", extension + "/^0https://b.test")),
              Optional(extension + "/"));
}

TEST(CacheStorageIndex, isNotBelievedWhenItContradictsItself) {
  const std::string site = "https://a.test/";
  const std::string extension = "chrome-extension://abc/";
  EXPECT_EQ(originOfCacheStorage(index("", extension, site)), std::nullopt);
  EXPECT_EQ(originOfCacheStorage(index("", extension, extension + "x")), std::nullopt);
  EXPECT_EQ(originOfCacheStorage(index("", site, site) + field(2, extension)), std::nullopt);
  EXPECT_EQ(originOfCacheStorage(index("", site, site) + field(3, site)), std::nullopt);
}

TEST(CacheStorageIndex, withoutAnOriginSaysNothing) {
  EXPECT_EQ(originOfCacheStorage(""), std::nullopt);
  EXPECT_EQ(originOfCacheStorage(cacheNamed("https://a.test/")), std::nullopt);
  EXPECT_EQ(originOfCacheStorage(index("", "", "")), std::nullopt);
  EXPECT_EQ(originOfCacheStorage(field(3, "https://a.test/")), std::nullopt);
  EXPECT_EQ(originOfCacheStorage("\x10\x05"), std::nullopt) << "a number";
  EXPECT_EQ(originOfCacheStorage("\x11https://"), std::nullopt) << "8 bytes";
}

TEST(CacheStorageIndex, mayHaveFieldsOfLaterVersions) {
  const std::string site = "https://a.test/";
  const std::string later = field(15, "new") + std::string(
                                                   "\x31"
                                                   "12345678"
                                                   "\x3d"
                                                   "1234"
                                                   "\x40\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01");
  EXPECT_THAT(originOfCacheStorage(later + index("", site, site) + later), Optional(site));
  EXPECT_THAT(originOfCacheStorage(field(2, site) + "\x80\x80\x01\x05"), Optional(site))
      << "a field with a great number";
}

TEST(CacheStorageIndex, isReadStrictly) {
  const std::string start = field(2, "https://a.test/");
  for (const auto& [what, end] :
       {std::pair<const char*, std::string>{"a field without a number", std::string("\x00\x01", 2)},
        {"a group", "\x33"},
        {"a type that does not exist", "\x37"},
        {"a tag that is cut", "\x80"},
        {"a number that is cut", "\x20\x80"},
        {"a number of more than 64 bits", "\x20\xff\xff\xff\xff\xff\xff\xff\xff\xff\x02"},
        {"a number without end", "\x20\xff\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01"},
        {"a length beyond the end", "\x0a\x02x"},
        {"a length near 2^64", "\x0a\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01x"},
        {"8 bytes that are cut",
         "\x31"
         "1234567"},
        {"4 bytes that are cut",
         "\x3d"
         "123"}}) {
    EXPECT_EQ(originOfCacheStorage(start + end), std::nullopt) << what;
  }
}

TEST(CacheStorageIndex, isReadWhereverItIsCut) {
  const std::string site = "https://a.test/";
  const std::string whole = index(cacheNamed("v1") + cacheNamed("v2"), site, site);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const auto origin = originOfCacheStorage(whole.substr(0, length));
    EXPECT_TRUE(!origin || *origin == site) << length;
  }
}

TEST(CacheStorageIndex, mayBeAnyBytes) {
  std::mt19937 random(7);  // NOLINT: a fixed seed, for the same bytes each time
  for (int round = 0; round < 20'000; ++round) {
    std::string bytes(random() % 40, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % 3 == 0 ? random() : random() % 24);
    originOfCacheStorage(bytes);
  }
}

}  // namespace
