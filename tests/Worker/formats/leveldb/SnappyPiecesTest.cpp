// Snappy's form, decompressed in pieces: the same bytes as the library makes of it, or none.

#include <gtest/gtest.h>
#include <snappy.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Worker/formats/leveldb/SnappyPieces.h"

namespace {

using tidewell::SnappyPieces;

std::string compressed(const std::string& text) {
  std::string result;
  snappy::Compress(text.data(), text.size(), &result);
  return result;
}

std::optional<std::string> inPieces(const std::string& bytes, std::size_t size) {
  std::string text;
  SnappyPieces pieces([&text](std::string_view piece) { text += piece; });
  for (std::size_t at = 0; at < bytes.size(); at += size) {
    if (!pieces.add(std::string_view(bytes).substr(at, size))) return std::nullopt;
  }
  return pieces.end() ? std::optional(text) : std::nullopt;
}

/// Texts that compress in different ways: not at all, by near and by far copies, and by copies of themselves.
std::vector<std::string> texts() {
  std::minstd_rand random(7);
  std::string noise, words, mixed;
  for (int index = 0; index < 300'000; ++index) noise += static_cast<char>(random());
  while (words.size() < 500'000) words += "word" + std::to_string(random() % 5000) + " ";
  while (mixed.size() < 500'000)
    mixed += noise.substr(random() % 1000, random() % 200) + std::string(random() % 90, 'x');
  return {"", "a", std::string(70, 'a'), std::string(1'000'000, 'x'), noise, words, mixed};
}

TEST(SnappyPieces, makeWhatTheLibraryMakes) {
  for (const std::string& text : texts()) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{65536}, std::size_t{10'000'000}}) {
      EXPECT_TRUE(inPieces(compressed(text), size) == text) << text.size() << " bytes by " << size;
    }
  }
}

TEST(SnappyPieces, aTextThatEndsTooEarlyIsNotWhole) {
  const std::string bytes = compressed(texts().back().substr(0, 2000));
  for (std::size_t size = 0; size < bytes.size(); ++size) EXPECT_EQ(inPieces(bytes.substr(0, size), 100), std::nullopt);
}

TEST(SnappyPieces, damageIsJudgedAsTheLibraryJudgesIt) {
  const std::string bytes = compressed(texts().back().substr(0, 1000));
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      std::string damaged = bytes;
      damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ (1U << bit));
      std::string text;
      const bool isText = snappy::Uncompress(damaged.data(), damaged.size(), &text);
      ASSERT_EQ(inPieces(damaged, 3), isText ? std::optional(text) : std::nullopt) << at << " " << bit;
    }
  }
}

TEST(SnappyPieces, whatRefersFartherBackThanIsKeptIsRefused) {
  // A literal of 400,000 bytes, and a copy from 300,000 bytes back.
  const std::string size = {'\x84', '\xb5', '\x18'};
  const std::string literal = std::string{'\xf8', '\x7f', '\x1a', '\x06'} + std::string(400'000, 'x');
  const std::string copy = {'\x0f', '\xe0', '\x93', '\x04', '\0'};
  std::string text;
  ASSERT_TRUE(snappy::Uncompress((size + literal + copy).data(), size.size() + literal.size() + copy.size(), &text));
  EXPECT_EQ(inPieces(size + literal + copy, 100'000), std::nullopt);
}

}  // namespace
