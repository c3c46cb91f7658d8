// Removing what pages have stored from the files of a Chromium's tabs. The layout is what Chromium 156 writes.

#include <gmock/gmock.h>

#include <random>

#include "Worker/formats/SessionCommands.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using tidewell::Rewriting;
using tidewell::TabFile;
using tidewell::withoutPageStates;
using Action = tidewell::Rewriting::Action;

std::string number(std::uint64_t number, int size = 4) {
  std::string bytes;
  for (; size > 0; --size, number >>= 8) bytes += static_cast<char>(number);
  return bytes;
}

std::string padded(std::string bytes) {
  bytes.append((4 - bytes.size() % 4) % 4, '\0');
  return bytes;
}

std::string text(const std::string& text) {
  return number(text.size()) + padded(text);
}

std::string wide(const std::string& ascii) {
  std::string bytes;
  for (const char c : ascii) bytes += {c, '\0'};
  return bytes;
}

std::string wideText(const std::string& ascii) {
  return number(ascii.size()) + padded(wide(ascii));
}

std::string pickle(const std::string& values) {
  return number(values.size()) + values;
}

std::string command(int id, const std::string& contents) {
  return number(contents.size() + 1, 2) + static_cast<char>(id) + contents;
}

std::string file(const std::string& commands, int version = 3) {
  return "SNSS" + number(static_cast<std::uint64_t>(version)) + commands;
}

/// What Chromium writes of a page: its state holds texts of scripts and forms.
std::string stateWith(const std::string& stored) {
  return pickle(number(33) + text(wide(stored)));
}

struct Page {
  std::string address = "https://a.test/page";
  std::string state = stateWith("typed text");
  std::string referrer = "https://b.test/?token";
  std::string addressBefore = "https://c.test/redirects";
  std::string notes = number(1) + text("key") + text("note");
  int sent = 1;
  int policy = 6;
  int index = 2;
};

std::string startOf(const Page& page) {
  return number(9) + number(static_cast<std::uint64_t>(page.index)) + text(page.address) + wideText("Title") +
         text(page.state) + number(8);
}

std::string valuesOf(const Page& page) {
  return startOf(page) + number(static_cast<std::uint64_t>(page.sent)) + text(page.referrer) + number(2) +
         text(page.addressBefore) + number(0) + number(13439804627792105, 8) + wideText("") + number(200) +
         number(static_cast<std::uint64_t>(page.policy)) + page.notes + number(71, 8) + number(72, 8) + number(73, 8) +
         number(0);
}

std::string commandOf(const Page& page, int id = 6) {
  return command(id, pickle(valuesOf(page)));
}

/// The same page as it has to be after the rewriting.
std::string cleaned(Page page, int place) {
  const std::string unique = number(static_cast<std::uint64_t>(place), 8);
  const std::string none = number(0xffffffff), zero = number(0);
  page.state = page.address.starts_with("http")
                   ? pickle(number(25) + zero + text(wide(page.address)) + none + zero + none + zero + unique + unique +
                            number(1) + zero + zero + zero + none + zero)
                   : "";
  page.referrer = page.addressBefore = "";
  page.notes = number(0);
  page.sent = 0;
  page.policy = 1;
  return commandOf(page);
}

const std::string kWindow = command(9, number(1) + number(0));
const std::string kGroup = command(27, pickle(number(5) + wideText("A group")));
const std::string kPin = command(12, number(9) + number(1));
const std::string kMarker = command(255, "");
const Page kOther{.address = "https://a.test/other", .index = 3};
const std::string kSession =
    file(kWindow + kGroup + commandOf({}) + kPin + kMarker + commandOf(kOther) + commandOf({}));

/// What is left of a file; "" when it is removed.
std::string rest(const std::string& file, TabFile kind = TabFile::kOpen) {
  const Rewriting answer = withoutPageStates(file, kind);
  EXPECT_NE(answer.action, Action::kLeaveUnread);
  return answer.action == Action::kLeave ? file : answer.contents;
}

TEST(SessionCommands, loseWhatPagesStoredAndKeepAddressesTitlesAndOrder) {
  EXPECT_EQ(rest(kSession),
            file(kWindow + kGroup + cleaned({}, 1) + kPin + kMarker + cleaned(kOther, 2) + cleaned({}, 3)));
}

TEST(SessionCommands, areLeftByASecondPass) {
  const Rewriting first = withoutPageStates(kSession, TabFile::kOpen);
  ASSERT_EQ(first.action, Action::kReplace);
  EXPECT_EQ(withoutPageStates(first.contents, TabFile::kOpen).action, Action::kLeave);
  EXPECT_EQ(withoutPageStates(file(kWindow + kMarker), TabFile::kOpen).action, Action::kLeave);
  EXPECT_EQ(withoutPageStates(file(""), TabFile::kOpen).action, Action::kLeave);
}

TEST(SessionCommands, ofClosedTabsHaveOtherNumbers) {
  EXPECT_THAT(rest(file(commandOf({}, 1)), TabFile::kClosed), Not(HasSubstr(wide("typed"))));
  EXPECT_EQ(rest(file(commandOf({}, 6)), TabFile::kClosed), file(commandOf({}, 6)));
  EXPECT_EQ(rest(file(commandOf({}, 1)), TabFile::kOpen), file(commandOf({}, 1)));
}

TEST(SessionCommands, keepWhatExtensionsAndTheBrowserStored) {
  for (const char* address : {"chrome-extension://abc/page.html", "chrome://settings/"}) {
    const std::string session = file(commandOf({.address = address, .referrer = "", .addressBefore = address}));
    EXPECT_EQ(rest(session), session);
  }
}

TEST(SessionCommands, loseWhatSitesStoredInFramesOfExtensions) {
  const Page page{.address = "chrome-extension://abc/page.html",
                  .state = stateWith("http://a.test/ typed"),
                  .referrer = "",
                  .addressBefore = ""};
  EXPECT_EQ(rest(file(commandOf(page))), file(cleaned(page, 1)));
  const Page narrow{.address = "chrome-extension://abc/page.html",
                    .state = pickle(text("https://a.test typed")),
                    .referrer = "",
                    .addressBefore = ""};
  EXPECT_EQ(rest(file(commandOf(narrow))), file(cleaned(narrow, 1)));
}

TEST(SessionCommands, haveNoStateForAnAddressThatIsNotLoadedAsItIsShown) {
  for (const char* address : {"view-source:https://a.test/", "data:text/html,typed", "about:blank", "blob:x", ""}) {
    const Page page{.address = address};
    EXPECT_EQ(rest(file(commandOf(page))), file(cleaned(page, 1))) << address;
  }
  EXPECT_THAT(rest(file(commandOf({.address = "https://\xc3\xa4.test/"}))), Not(HasSubstr(wide("https"))));
}

TEST(SessionCommands, haveNoStateThatMakesThemTooLong) {
  const Page page{.address = "https://a.test/" + std::string(40'000, 'x'), .state = ""};
  const std::string left = rest(file(commandOf(page)));
  EXPECT_THAT(left, HasSubstr(page.address));
  EXPECT_THAT(left, Not(HasSubstr(wide("https"))));
  EXPECT_EQ(withoutPageStates(left, TabFile::kOpen).action, Action::kLeave);
}

TEST(SessionCommands, ofEarlierVersionsMayEndEarly) {
  const std::string left = rest(file(command(6, pickle(startOf({}))), 1));
  EXPECT_THAT(left, HasSubstr("https://a.test/page"));
  EXPECT_THAT(left, HasSubstr(wide("Title")));
  EXPECT_THAT(left, Not(HasSubstr(wide("typed"))));
}

TEST(SessionCommands, endWhereTheyAreDamaged) {
  const std::string good = file(kWindow + cleaned({}, 1));
  for (const std::string& end : {std::string("\xff"), number(0, 2) + commandOf({}), number(200, 2) + "typed"}) {
    EXPECT_EQ(rest(good + end), good);
    EXPECT_EQ(withoutPageStates(file(kWindow + end), TabFile::kOpen).action, Action::kRemove);
  }
}

TEST(SessionCommands, loseAPageThatCantBeRead) {
  const std::string good = file(cleaned({}, 1) + cleaned(kOther, 2));
  for (const std::string& contents : {std::string(), std::string("typed"), pickle("typed"),
                                      pickle(startOf({}).substr(0, 40)), number(7) + startOf({})}) {
    EXPECT_EQ(rest(file(commandOf({}) + command(6, contents) + commandOf(kOther))), good);
  }
}

TEST(SessionCommands, thatAreEncryptedOrOfLaterVersionsAreLeftAsUnread) {
  for (const int version : {0, 2, 4, 5, 6}) {
    EXPECT_EQ(withoutPageStates(file("v10 tabs", version), TabFile::kOpen).action, Action::kLeaveUnread);
    EXPECT_FALSE(tidewell::isReadableTabFile(file("v10 tabs", version)));
    EXPECT_EQ(withoutPageStates(file("", version), TabFile::kOpen).action, Action::kRemove) << "no tab is in it";
  }
  EXPECT_TRUE(tidewell::isReadableTabFile(kSession));
}

TEST(SessionCommands, thatWereNotReadAreLeft) {
  EXPECT_EQ(withoutPageStates("", TabFile::kOpen).action, Action::kLeaveUnread);
}

TEST(SessionCommands, areRemovedWhenTheyAreNone) {
  for (const char* bytes : {"S", "SNSS", "SNSS\3", "no file of tabs, with https://a.test in it"}) {
    EXPECT_EQ(withoutPageStates(bytes, TabFile::kOpen).action, Action::kRemove) << bytes;
  }
}

TEST(SessionCommands, areCleanWhereverTheFileIsCut) {
  for (std::size_t length = 0; length < kSession.size(); ++length) {
    const Rewriting answer = withoutPageStates(kSession.substr(0, length), TabFile::kOpen);
    EXPECT_THAT(answer.contents, Not(HasSubstr(wide("typed")))) << length;
  }
}

TEST(SessionCommands, mayBeAnyBytes) {
  std::mt19937 random(7);  // NOLINT: a fixed seed, for the same bytes each time
  for (int round = 0; round < 1'000; ++round) {
    std::string bytes = kSession;
    for (int change = 0; change < 3; ++change) bytes[8 + random() % (bytes.size() - 8)] = static_cast<char>(random());
    const Rewriting answer = withoutPageStates(bytes, TabFile::kOpen);
    if (answer.action != Action::kReplace) continue;
    EXPECT_EQ(withoutPageStates(answer.contents, TabFile::kOpen).action, Action::kLeave);
  }
}

}  // namespace
