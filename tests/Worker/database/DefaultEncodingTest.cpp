// Text in the character set of the process's locale.

#include <clocale>
#include <cstdlib>

#include "Worker/database/DefaultEncoding.h"
#include "tests/Worker/database/DatabaseTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Optional;
using tidewell::SqliteObject;
using tidewell::SqliteValue;
using tidewell::textFromEncoding;
using tidewell::textInEncoding;

TEST(TextInAnEncoding, isTheSameBytesInUTF8EvenWhenTheyAreNotValid) {
  for (const char* text : {"", "größe", "\xc3\x28\xff"}) {
    EXPECT_EQ(textFromEncoding(text, "UTF-8"), text);
    EXPECT_EQ(textInEncoding(text, "UTF-8"), text);
  }
}

TEST(TextInAnEncoding, isConvertedBothWays) {
  EXPECT_EQ(textFromEncoding("gr\xf6\xdf"
                             "e",
                             "ISO-8859-1"),
            "größe");
  EXPECT_EQ(textInEncoding("größe", "ISO-8859-1"),
            "gr\xf6\xdf"
            "e");
  EXPECT_EQ(textFromEncoding("\xa4", "ISO-8859-15"), "€");
  EXPECT_EQ(textInEncoding("€", "ISO-8859-15"), "\xa4");
}

TEST(TextInAnEncoding, readsEveryByteOfAnEightBitSet) {
  EXPECT_EQ(textFromEncoding("é", "ISO-8859-1"), "Ã©");
}

TEST(TextInAnEncoding, isConvertedWholeWhenItIsLong) {
  std::string text;
  std::string bytes;
  for (int count = 0; count < 5000; ++count) {
    text += "xö";
    bytes += "x\xf6";
  }
  EXPECT_EQ(textInEncoding(text, "ISO-8859-1"), bytes);
  EXPECT_EQ(textFromEncoding(bytes, "ISO-8859-1"), text);
}

TEST(TextInAnEncoding, returnsToTheInitialShiftState) {
  EXPECT_EQ(textInEncoding("日本", "ISO-2022-JP"), "\x1b$BF|K\\\x1b(B");
  EXPECT_EQ(textFromEncoding("\x1b$BF|K\\\x1b(B", "ISO-2022-JP"), "日本");
}

TEST(TextInAnEncoding, staysAsItIsWhenItIsNotValid) {
  EXPECT_EQ(textFromEncoding("größe", "ANSI_X3.4-1968"), "größe");
  EXPECT_EQ(textFromEncoding("a\xff", "EUC-JP"), "a\xff");
  EXPECT_EQ(textFromEncoding("cut \xc6", "EUC-JP"), "cut \xc6");
  EXPECT_EQ(textInEncoding("a\xff", "ISO-8859-1"), "a\xff");
}

TEST(TextInAnEncoding, staysAsItIsWhenItHasNoCounterpart) {
  EXPECT_EQ(textInEncoding("日本", "ISO-8859-1"), "日本");
  EXPECT_EQ(textInEncoding("größe", "ANSI_X3.4-1968"), "größe");
}

TEST(TextInAnEncoding, staysAsItIsWhenTheEncodingIsUnknown) {
  EXPECT_EQ(textFromEncoding("größe", "no-such-set"), "größe");
  EXPECT_EQ(textInEncoding("größe", "no-such-set"), "größe");
}

/// Puts the process into another locale for one test.
class SqliteInAnotherLocale : public testing_support::DatabaseTest {
 protected:
  ~SqliteInAnotherLocale() override {
    std::setlocale(LC_CTYPE, "C");
    ::unsetenv("LOCPATH");
  }

  /// Enters a Latin-1 locale, which is compiled for this test, since systems seldom have one.
  bool enterLatin1() {
    const std::string compiler =
        "localedef -i en_US -f ISO-8859-1 --no-archive " + folder.path("en_US.ISO-8859-1") + " > /dev/null 2>&1";
    if (std::system(compiler.c_str()) != 0) return false;  // NOLINT: no foreign text is in the command
    ::setenv("LOCPATH", folder.path().c_str(), 1);
    return std::setlocale(LC_CTYPE, "en_US.ISO-8859-1") && tidewell::defaultCStringEncoding() == "ISO-8859-1";
  }
};

TEST_F(SqliteInAnotherLocale, readsTextColumnsAndBindsStringsInItsCharacterSet) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES ('é'), (CAST(x'e9' AS TEXT))");
  ASSERT_TRUE(enterLatin1()) << "no locale of Latin-1 can be compiled here";
  EXPECT_THAT(texts("SELECT a FROM t ORDER BY rowid", "a"), ElementsAre("Ã©", "é"));
  EXPECT_THAT(valueOf("hex(?)", {"é"}), Optional(SqliteValue("E9")));
  EXPECT_THAT(valueOf("hex(?)", {SqliteObject{"é"}}), Optional(SqliteValue("C3A9")));  // descriptions are UTF-8
}

TEST_F(SqliteInAnotherLocale, readsStatementsAndColumnNamesAsUTF8) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES ('x')");
  ASSERT_TRUE(enterLatin1()) << "no locale of Latin-1 can be compiled here";
  EXPECT_THAT(texts("SELECT a AS \"größe\" FROM t", "größe"), ElementsAre("x"));
  EXPECT_THAT(valueOf("hex('é')"), Optional(SqliteValue("C3A9")));
  EXPECT_FALSE(sqlite.executeQuery("SELECT é"));
  EXPECT_EQ(sqlite.errorMessage(), "no such column: Ã©");
}

TEST_F(SqliteInAnotherLocale, bindsAgainWhatItHasRead) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES ('é'), ('日本'), (CAST(x'ff28' AS TEXT))");
  ASSERT_TRUE(enterLatin1()) << "no locale of Latin-1 can be compiled here";
  for (const std::string& text : texts("SELECT a FROM t", "a")) {
    EXPECT_TRUE(sqlite.executeNonQuery_arguments("DELETE FROM t WHERE a = ?", {text}));
  }
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ::testing::IsEmpty());
}

TEST_F(SqliteInAnotherLocale, keepsTextThatASCIICanNotSayForALaterStatement) {
  make("CREATE TABLE t (a); INSERT INTO t VALUES ('größe'), (CAST(x'ff28' AS TEXT)), ('other')");
  ASSERT_TRUE(std::setlocale(LC_CTYPE, "C"));
  const auto read = texts("SELECT a FROM t ORDER BY rowid", "a");
  ASSERT_THAT(read, ElementsAre("größe", "\xff\x28", "other"));
  EXPECT_TRUE(sqlite.executeQuery("DELETE FROM t WHERE a IN ('" + read[0] + "')"));
  EXPECT_TRUE(sqlite.executeNonQuery_arguments("DELETE FROM t WHERE a = ?", {read[1]}));
  EXPECT_THAT(texts("SELECT a FROM t", "a"), ElementsAre("other"));
}

}  // namespace
