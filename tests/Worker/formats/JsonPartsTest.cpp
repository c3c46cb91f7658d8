// Taking parts out of a JSON document.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Worker/formats/JsonBounds.h"
#include "Worker/formats/JsonParts.h"
#include "tests/support/MemoryLimit.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Optional;
using testing_support::succeedsWithMemory;
using tidewell::JsonPart;
using tidewell::kDeepestJson;
using tidewell::withoutParts;

bool isNamedGone(const JsonPart& part) {
  return part.path.back() == "gone";
}
bool isNull(const JsonPart& part) {
  return part.before == "null";
}
bool isNothing(const JsonPart&) {
  return false;
}

TEST(JsonParts, thatGoTakeTheirCommaAlong) {
  EXPECT_THAT(withoutParts(R"({"gone":1,"a":2,"b":3})", isNamedGone), Optional(std::string(R"({"a":2,"b":3})")));
  EXPECT_THAT(withoutParts(R"({"a":2,"gone":1,"b":3})", isNamedGone), Optional(std::string(R"({"a":2,"b":3})")));
  EXPECT_THAT(withoutParts(R"({"a":2,"b":3,"gone":1})", isNamedGone), Optional(std::string(R"({"a":2,"b":3})")));
  EXPECT_THAT(withoutParts(R"({"gone":{"x":[1,{}]}})", isNamedGone), Optional(std::string("{}")));
  EXPECT_THAT(withoutParts("[null,1,null,null,2,null]", isNull), Optional(std::string("[1,2]")));
  EXPECT_THAT(withoutParts("[[null,null],null]", isNull), Optional(std::string("[[]]")));
}

TEST(JsonParts, thatStayKeepTheirText) {
  const std::string text =
      "\xef\xbb\xbf \n{\"z\" : 18446744073709551616, "
      "\"a\":-0.0,\t\"e\":1.0e+2,\"t\":true,\"n\":null,\"big\":9007199254740993,"
      "\"d\":0.1000000000000000055511151231257827,\"s\":\"\\u003C\\/\\\"\\\\\\n é\",\"\":[ ],\"a\":{ } , \"x\":[1 , "
      "2]}\r\n";
  EXPECT_THAT(withoutParts(text, isNothing), Optional(text));
  std::string longer = text;
  longer.insert(longer.find('{') + 1, "\"gone\":[1,{\"q\":\"}]\\\"\"}],");
  EXPECT_THAT(withoutParts(longer, isNamedGone), Optional(text));
}

TEST(JsonParts, mayComeAfterAByteOrderMark) {
  EXPECT_THAT(withoutParts("\xef\xbb\xbf{\"gone\":1}", isNamedGone), Optional(std::string("\xef\xbb\xbf{}")));
  EXPECT_THAT(withoutParts("\xef\xbb\xbf[null]", isNull), Optional(std::string("\xef\xbb\xbf[]")));
}

TEST(JsonParts, canBeScalars) {
  for (const std::string text : {"1", "\"gone\"", "null", " -2.5e3 ", "false"}) {
    EXPECT_THAT(withoutParts(text, [](const JsonPart&) { return true; }), Optional(text));
  }
}

TEST(JsonParts, areAskedForFromTheInsideOut) {
  std::vector<std::string> asked;
  withoutParts(R"({"a":[1,{"gone":2}],"\u0062\"":"x"})", [&](const JsonPart& part) {
    std::string line;
    for (const auto& name : part.path) line += "/" + name;
    asked.push_back(line + " " + std::string(part.before) + " " + std::string(part.after));
    return isNamedGone(part);
  });
  EXPECT_THAT(asked, ElementsAre("/a/ 1 1", "/a//gone 2 2", R"(/a/ {"gone":2} {})", R"(/a [1,{"gone":2}] [1,{}])",
                                 R"(/b" "x" "x")"));
}

TEST(JsonParts, areNotFoundInWhatIsNoJSON) {
  for (const std::string text :
       {"",        " ",        "{",       "}",        "[1,]",     "{\"a\"}",          "{\"a\":1,}",
        "{'a':1}", "[1] 2",    "nul",     "\"",       "\"\\",     "\"\\ud8",          "\"\\ud83x\"",
        "\"\\x\"", "[01]",     "[1e999]", "\"\xff\"", "\"\xc3\"", "\"\xed\xa0\x80\"", "\"a\nb\"",
        "/**/[]",  "\xef\xbb", "["}) {
    EXPECT_EQ(withoutParts(text, isNothing), std::nullopt) << text;
  }
  for (const auto& text : {std::string("{}\0", 3), std::string("\0{}", 3), std::string("[1]\0\"", 5)}) {
    EXPECT_EQ(withoutParts(text, isNothing), std::nullopt);
  }
}

TEST(JsonParts, mayHaveHalvesOfCharactersInThem) {
  const std::string text = R"({"a\ud83d":"\udc00x\uD83D\uDE00\\ud800","gone":"\ud800","\ud83d\ude00":1})";
  EXPECT_THAT(withoutParts(text, isNamedGone),
              Optional(std::string(R"({"a\ud83d":"\udc00x\uD83D\uDE00\\ud800","\ud83d\ude00":1})")));
}

TEST(JsonParts, canBeNestedUpToABound) {
  const auto lists = [](std::size_t depth) { return std::string(depth, '[') + "null" + std::string(depth, ']'); };
  EXPECT_THAT(withoutParts(lists(kDeepestJson), isNull),
              Optional(std::string(kDeepestJson, '[') + std::string(kDeepestJson, ']')));
  EXPECT_EQ(withoutParts(lists(kDeepestJson + 1), isNull), std::nullopt);
  const auto objects = [](std::size_t depth) {
    std::string text;
    for (std::size_t count = 1; count < depth; ++count) text += "{\"a\":";
    return text + "{\"gone\":1}" + std::string(depth - 1, '}');
  };
  ASSERT_TRUE(withoutParts(objects(kDeepestJson), isNamedGone));
  EXPECT_EQ(withoutParts(objects(kDeepestJson + 1), isNamedGone), std::nullopt);
  std::string wide = "[";  // the bound is about depth, not about number
  for (std::size_t count = 0; count < 2 * kDeepestJson; ++count) wide += "[],{},";
  wide += "0]";
  EXPECT_THAT(withoutParts(wide, isNull), Optional(wide));
}

TEST(JsonParts, takeNoMoreThanAFewTimesTheirTextsMemory) {
  constexpr std::size_t kMegabyte = std::size_t{1} << 20;
  const std::string open(8 * kMegabyte, '[');
  EXPECT_TRUE(succeedsWithMemory(4 * open.size(), [&] { return !withoutParts(open, isNothing); }));
  std::string many = "[null";
  while (many.size() < 8 * kMegabyte) many += ",null,{},[],0";
  many += ']';
  EXPECT_TRUE(succeedsWithMemory(4 * many.size(), [&] { return withoutParts(many, isNull).has_value(); }));
}

TEST(JsonParts, areTakenOutWhereverTheTextIsCut) {
  const std::string text = R"({"a":[1,"\u00e9\ud83d",{"gone":true}],"b":-1.5e-3})";
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_EQ(withoutParts(text.substr(0, length), isNamedGone), std::nullopt) << length;
  }
}

}  // namespace
