// What the command prints on a terminal, and on a pipe.

#include <gmock/gmock.h>

#include <clocale>
#include <sstream>

#include "MainApplication/command/DidYouMean.h"
#include "MainApplication/command/Screen.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using tidewell::Screen;
using tidewell::Table;
using Colour = Screen::Colour;

std::string printed(const Screen& screen, std::string_view text, std::size_t indent = 0) {
  std::ostringstream output;
  screen.print(text, output, indent);
  return output.str();
}

std::string printed(const Screen& screen, const Table& table) {
  std::ostringstream output;
  table.print(screen, output);
  return output.str();
}

Table browsers() {
  Table table({"Browser", "Enabled"});
  table.addRow({{"Firefox"}, {"yes", Colour::kGood}});
  table.addPath("/home/ann/a folder with a long name");
  table.addNote({"never asked for", Colour::kDoubtful});
  return table;
}

TEST(TheScreen, hasColoursOnlyWhereThereAreSome) {
  Screen screen;
  EXPECT_EQ(screen.coloured("yes", Colour::kGood), "yes");
  screen.hasColours = true;
  EXPECT_EQ(screen.coloured("yes", Colour::kGood), "\x1b[32myes\x1b[0m");
  EXPECT_EQ(screen.coloured("yes", Colour::kPlain), "yes");
}

TEST(TheScreen, breaksTextAtBlanksWhereItHasAWidth) {
  EXPECT_EQ(printed({}, "one two three"), "one two three\n");
  EXPECT_EQ(printed({.isTerminal = true, .width = 9}, "one two three"), "one two\nthree\n");
  EXPECT_EQ(printed({.isTerminal = true, .width = 9}, "one two three", 4), "    one\n    two\n    three\n");
  EXPECT_EQ(printed({.isTerminal = true, .width = 3}, "a longword b"), "a\nlongword\nb\n") << "no word is cut";
}

TEST(TheScreen, countsTheColumnsOfLettersAndNotTheirBytes) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  EXPECT_EQ(tidewell::columnsOf("gel\u00f6scht"), 8U);
  EXPECT_EQ(tidewell::columnsOf("\u8a31\u53ef"), 4U) << "wide letters";
  EXPECT_EQ(tidewell::columnsOf("a\xff"), 2U) << "what is no letter has a column too";
  EXPECT_EQ(tidewell::padded("\u00f6", 3), "\u00f6  ");
  std::setlocale(LC_CTYPE, "C");
}

TEST(ATable, isInColumnsBelowAHeading) {
  EXPECT_EQ(printed({}, browsers()),
            "Browser  Enabled\n"
            "Firefox  yes\n"
            "    /home/ann/a folder with a long name\n"
            "    never asked for\n");
}

TEST(ATable, isInLinesWhereItsColumnsDoNotFit) {
  EXPECT_EQ(printed({.isTerminal = true, .width = 15}, browsers()),
            "Firefox\n"
            "    Enabled: yes\n"
            "    /home/ann/a folder with a long name\n"
            "    never asked\n"
            "    for\n");
}

TEST(ATable, keepsItsColumnsWithColours) {
  Table table({"A", "B"});
  table.addRow({{"yes", Colour::kGood}, {"x"}});
  EXPECT_THAT(printed({.isTerminal = true, .hasColours = true}, table), HasSubstr("\x1b[32myes\x1b[0m  x\n"));
}

TEST(DidYouMean, findsTheWordThatWasMistyped) {
  const std::vector<std::string> words{"status", "enable", "disable", "preview", "firefox", "chrome", "chromium"};
  EXPECT_EQ(tidewell::mostLike("statsu", words), "status");
  EXPECT_EQ(tidewell::mostLike("Firefx", words), "firefox");
  EXPECT_EQ(tidewell::mostLike("previw", words), "preview");
  EXPECT_EQ(tidewell::mostLike("chrom", words), "chrome");
}

TEST(DidYouMean, isSilentWhenNoWordIsLikeIt) {
  const std::vector<std::string> words{"status", "enable"};
  for (const char* text : {"lynx", "frobnicate", "", "x"}) EXPECT_EQ(tidewell::mostLike(text, words), "") << text;
  EXPECT_EQ(tidewell::mostLike(std::string(100'000, 's'), words), "") << "and does not compare what is too long";
}

}  // namespace
