// Text from outside in one line of a terminal or of the log.

#include <gtest/gtest.h>

#include "Platform/PrintableText.h"

namespace {

using platform::printable;

TEST(PrintableText, isTheTextItselfWhereThatShowsAsItIs) {
  for (const char* text :
       {"", "/home/ann/My folder", "Zürich ✓ 日本語 \xF0\x9F\xA6\x8A", "\\n", "\xC2\xA0 e\xCC\x81"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(PrintableText, hasNoControlCharacters) {
  EXPECT_EQ(printable("a\nb\r\tc"), "a\\nb\\x0d\\x09c");
  EXPECT_EQ(printable("\x1b]0;title\x07\x1b[2J"), "\\x1b]0;title\\x07\\x1b[2J");
  EXPECT_EQ(printable(std::string_view("\0\x7f", 2)), "\\x00\\x7f");
  EXPECT_EQ(printable("\xC2\x9B"
                      "2J\xC2\x80\xC2\x9F"),
            "\\u009b2J\\u0080\\u009f");
}

TEST(PrintableText, isReadInTheOrderInWhichItIsWritten) {
  EXPECT_EQ(printable("\xE2\x80\xAE"
                      "fdp.exe"),
            "\\u202efdp.exe");
  EXPECT_EQ(printable("\xE2\x80\xAA\xE2\x81\xA6\xE2\x81\xA9"), "\\u202a\\u2066\\u2069");
  EXPECT_EQ(printable("\xE2\x80\x8E\xE2\x80\x8F\xD8\x9C"), "\\u200e\\u200f\\u061c");
  EXPECT_EQ(printable("\xE2\x80\xA8\xE2\x80\xA9"), "\\u2028\\u2029");
}

TEST(PrintableText, showsBytesThatAreNoText) {
  EXPECT_EQ(printable("\xff/\x9b"
                      "2J"),
            "\\xff/\\x9b2J");
  EXPECT_EQ(printable("\xC0\x8A\xED\xA0\x80"), "\\xc0\\x8a\\xed\\xa0\\x80");  // overlong, and half of a pair
  EXPECT_EQ(printable("\xE2\x80"), "\\xe2\\x80");
}

}  // namespace
