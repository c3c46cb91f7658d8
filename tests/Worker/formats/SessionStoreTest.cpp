// Removing sites' data from Firefox's session. The samples were written by Firefox ESR 153, and shortened.

#include <gmock/gmock.h>
#include <lz4.h>

#include <nlohmann/json.hpp>
#include <random>

#include "Worker/formats/SessionStore.h"

namespace {

using tidewell::Rewriting;
using tidewell::withoutSiteData;
using Action = tidewell::Rewriting::Action;

constexpr std::size_t kHeader = 12;

std::string header(std::size_t size) {
  std::string result("mozLz40\0", 8);
  for (int shift = 0; shift < 32; shift += 8) result += static_cast<char>(size >> shift);
  return result;
}

std::string packed(const std::string& text) {
  std::string block(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(text.size()))), '\0');
  block.resize(static_cast<std::size_t>(
      LZ4_compress_default(text.data(), block.data(), static_cast<int>(text.size()), static_cast<int>(block.size()))));
  return header(text.size()) + block;
}

std::string unpacked(const std::string& file) {
  std::size_t size = 0;
  for (std::size_t at = kHeader; at-- > 8;) size = size << 8 | static_cast<unsigned char>(file[at]);
  EXPECT_EQ(file.substr(0, kHeader), header(size));
  std::string text(size, '\0');
  const int result = LZ4_decompress_safe(file.data() + kHeader, text.data(), static_cast<int>(file.size() - kHeader),
                                         static_cast<int>(size));
  EXPECT_EQ(result, static_cast<int>(size));
  return text;
}

/// What is left of a session after the rewriting.
std::string rest(const std::string& session) {
  const Rewriting answer = withoutSiteData(packed(session));
  EXPECT_NE(answer.action, Action::kRemove) << session;
  return answer.action == Action::kReplace ? unpacked(answer.contents) : session;
}

void expectRemoved(const std::string& file) {
  const Rewriting answer = withoutSiteData(file);
  EXPECT_EQ(answer.action, Action::kRemove);
  EXPECT_EQ(answer.contents, "");
}

/// A session before and after: `%` begins a part that must be removed, `$` ends it.
class Marked {
 public:
  explicit Marked(std::string_view marked) {
    bool goes = false;
    for (const char c : marked) {
      if (c == '%' || c == '$') {
        goes = c == '%';
        continue;
      }
      before += c;
      if (!goes) after += c;
    }
  }
  std::string before, after;
};

const Marked kSession(
    R"({"version":["sessionrestore",1],"windows":[{"tabs":[{"entries":[{"url":"about:blank","title":"about:blank","cacheKey":0,)"
    R"("ID":9,"resultPrincipalURI":null,"principalToInherit_base64":"{\"0\":{\"0\":\"moz-nullprincipal:{8ab3}\"}}"}],)"
    R"("lastAccessed":1795254183727,"pinned":true,"attributes":{},"index":1,"image":null},{"entries":[{"url":)"
    R"("http://a.test/third","title":"Les magasins","presState":[{"stateKey":"0>html>1","scroll":"0,48000"}]},{"url":)"
    R"("http://a.test/third?state","title":"odd \ud83d é","docIdentifier":33%,"structuredCloneState":"AgAAAAAA8f8AAA==")"
    R"(,"structuredCloneVersion":8$,"children":[{"url":"https://b.test/frame","title":"","policyContainer":"ydqGXsP"%,)"
    R"("structuredCloneState":"Ag=="$},{"url":"about:srcdoc"%,"srcdocData":"<p>","isSrcdocEntry":true$}],"transient":false}],)"
    R"("lastAccessed":1795254199405,"groupId":"1795254195153-95","attributes":{},%"storage":{"http://a.test":{"sk":"sv","bin":)"
    R"("\ud800x\udc00"}},$"index":2,%"formdata":{"url":"http://a.test/third?state","id":{"t":"typed text é","u":"typed user"},)"
    R"("children":[{"url":"https://b.test/frame","xpath":{"//x":"typed"}}]},$"scroll":{"scroll":"0,800"},"userTypedValue":)"
    R"("typed in bar","userTypedClear":0}],"groups":[{"id":"1795254195153-95","name":"Group","color":"blue"}],"closedGroups":)"
    R"([{"id":"2","tabs":[{"state":{"entries":[{"url":"http://b.test/"}]%,"storage":{"http://b.test":{"x":"y"}}$},"title":)"
    R"("storage"}]}],"selected":3,"_closedTabs":[{"state":{"entries":[{"url":"http://a.test/closedtab"%,)"
    R"("structuredCloneState":"Ag=="$}],%"storage":{"http://a.test^partitionKey=%28http%2Cb.test%29":{"more":"moré"}},)"
    R"("formdata":{"url":"http://a.test/closedtab","id":{"t":"typed"}},$"image":null},"title":"cookies","pos":5,"closedId":0}],)"
    R"("sidebar":{"command":""},"extData":{"extension:abc@b.test:note":"\"formdata\""}}],"selectedWindow":1,"_closedWindows":)"
    R"([{"tabs":[{"entries":[{"url":"http://b.test/inclosedwindow"}]%,"storage":{"http://b.test":{"sk":"sv"}}$}],"selected":1,)"
    R"("_closedTabs":[],"closedAt":1795254193116}],"savedGroups":[{"id":"3","tabs":[{"state":{"entries":[]%,"formdata":{"id":)"
    R"({"a":"typed"},"url":"https://a.test"}$}}]}],"session":{"lastUpdate":1795254199450,"startTime":1795254178000},"global":{},)"
    R"("cookies":[%{"host":"a.test","value":"cookieval","path":"/","name":"sess"},{"host":"b.test","value":"1"}$]})");

TEST(SessionStore, losesWhatSitesStoredAndWhatWasTypedAndNothingElse) {
  EXPECT_EQ(rest(kSession.before), kSession.after);
}

TEST(SessionStore, isLeftByASecondPass) {
  const Rewriting first = withoutSiteData(packed(kSession.before));
  ASSERT_EQ(first.action, Action::kReplace);
  EXPECT_EQ(withoutSiteData(first.contents).action, Action::kLeave);
  EXPECT_EQ(withoutSiteData(packed(kSession.after)).action, Action::kLeave);
}

TEST(SessionStore, isLeftWhenNothingIsThere) {
  for (const char* session : {"{}", "[]", "null", R"({"windows":[],"cookies":[]})",
                              R"({"windows":[{"tabs":[{"entries":[{"url":"http://a.test/"}],"storage":null}]}]})"}) {
    EXPECT_EQ(withoutSiteData(packed(session)).action, Action::kLeave) << session;
  }
}

TEST(SessionStore, keepsWhatExtensionsAndTheBrowserStored) {
  const Marked tab(
      R"({"storage":{"moz-extension://0af1":{"storage":"x","formdata":"y","cookies":"z","structuredCloneState":"s"},)"
      R"("about:x":{"a":"b"}%,"https://a.test":{"moz-extension:":"x"},"http://moz-extension:80":{"a":"b"}$}})");
  EXPECT_EQ(rest(tab.before), tab.after);
}

TEST(SessionStore, keepsFormsOfExtensionsAndTheBrowser) {
  const Marked tabs(
      R"([{"formdata":{"url":"about:config","id":{"about-config-search":"http://"}}},{%"formdata":{"url":"http://a.test",)"
      R"("id":{"url":"about:x"}}$},{"formdata":{"id":{"formdata":"x","storage":"y"},"url":"moz-extension://0af1/p.html"%,)"
      R"("children":[null,{"url":"https://a.test","id":{"t":"typed"}}]$}},{%"formdata":{"id":{"x":"about:"},"children":[]}$},)"
      R"({"formdata":{"url":"about:x","children":[{"url":"about:y","id":{"t":"typed"}}]}},{%"formdata":{"id":{"a":"b"}}$}])");
  EXPECT_EQ(rest(tabs.before), tabs.after);
}

TEST(SessionStore, knowsAFormsFramesOfSitesHoweverDeepTheyAre) {
  const Marked tabs(
      R"([{"formdata":{"url":"about:x","children":[{"url":"about:y","children":[null,{"url":"about:z"}]}]}},)"
      R"({"formdata":{"url":"about:x"%,"children":[{"url":"about:y","children":[{"url":"http://a.test"},{"id":{}}]}]$}},)"
      R"({"formdata":{"url":"about:x","children":[{"url":"about:y","id":{"t":"typed"}}]}}])");
  EXPECT_EQ(rest(tabs.before), tabs.after);
}

TEST(SessionStore, losesTheSameInASessionThatIsOfferedForRestoring) {
  const Marked tab(
      R"({"formdata":{"url":"about:sessionrestore","id":{"sessionData":{"windows":[{"tabs":[{"entries":[{"url":)"
      R"("http://a.test/"}]%,"storage":{"http://a.test":{"q":"nested"}},"formdata":{"id":{"z":"typed"},"url":"http://a.test/"}$},)"
      R"({"index":1%,"formdata":{"id":{"z":"typed"}}$}]}],"cookies":[%{"host":"a.test","name":"n"}$]}}}})");
  EXPECT_EQ(rest(tab.before), tab.after);
}

TEST(SessionStore, mayBeLongAndCompressWell) {
  const std::string title(1'000'000, 'x');
  EXPECT_EQ(rest(R"({"title":")" + title + R"(","cookies":[{"a":1}]})"),
            R"({"title":")" + title + R"(","cookies":[]})");
}

TEST(SessionStore, mayBeNestedUpToABound) {
  const std::string open(500, '[');
  const std::string close(500, ']');
  EXPECT_EQ(rest(open + R"({"cookies":[1]})" + close), open + R"({"cookies":[]})" + close);
  EXPECT_EQ(rest(R"({"formdata":)" + open + close + "}"), "{}");
  const auto forms = [](std::size_t count) {
    std::string text;
    for (std::size_t form = 0; form < count; ++form) text += R"({"formdata":{"url":"about:x","a":)";
    return text + "1" + std::string(2 * count, '}');
  };
  EXPECT_EQ(rest(forms(250)), forms(250));
  expectRemoved(packed(forms(300)));
  expectRemoved(packed(std::string(100'000, '[') + std::string(100'000, ']')));
}

TEST(SessionStore, isRemovedWithAnotherHeader) {
  const std::string file = packed(kSession.before);
  expectRemoved("");
  expectRemoved(kSession.before);
  expectRemoved(file.substr(1));
  expectRemoved(std::string("mozLz41\0", 8) + file.substr(8));
  expectRemoved(header(0));
  expectRemoved(header(0) + std::string(1, '\0'));
}

TEST(SessionStore, isRemovedWhenTheSizeThatItTellsIsNotSo) {
  const std::string file = packed(kSession.before);
  const std::string block = file.substr(kHeader);
  for (const std::size_t size : {kSession.before.size() - 1, kSession.before.size() + 1, block.size() * 255,
                                 block.size() * 255 + 1, std::size_t{256} << 20, (std::size_t{256} << 20) + 1,
                                 std::size_t{0x7fffffff}, std::size_t{0xffffffff}, std::size_t{0}}) {
    expectRemoved(header(size) + block);
  }
}

TEST(SessionStore, isRemovedWhenItIsLongerThanAnySession) {
  // LZ4: one blank, repeated (each 0xff adds 255 to the count), then "{}" and the bytes that must end a block.
  constexpr std::size_t kBlanks = std::size_t{256} << 20;
  const std::string end = "{}    ";
  std::string block = std::string("\x1f \x01\x00", 4) + std::string((kBlanks - 20) / 255, '\xff');
  block += static_cast<char>((kBlanks - 20) % 255);
  block += static_cast<char>(end.size() << 4) + end;
  expectRemoved(header(kBlanks + end.size()) + block);
}

TEST(SessionStore, isRemovedWhenItIsNoJSON) {
  for (const std::string text : {"", "{", "not json", "{\"a\":\"\xff\"}", "{} {}", "[1,]"}) expectRemoved(packed(text));
  expectRemoved(packed(std::string(100'000, '[')));
  expectRemoved(packed(std::string("{}\0", 3)));
}

TEST(SessionStore, isRemovedWhereverItIsCut) {
  const std::string file = packed(kSession.before);
  for (std::size_t length = 0; length < file.size(); ++length) expectRemoved(file.substr(0, length));
}

TEST(SessionStore, isReadableAfterAnyChange) {
  const std::string file = packed(kSession.before);
  std::mt19937 random(7);  // NOLINT: a fixed seed, for the same changes each time
  for (int round = 0; round < 3000; ++round) {
    std::string changed = file;
    for (int change = 0; change < 2; ++change) changed[random() % changed.size()] = static_cast<char>(random());
    const Rewriting answer = withoutSiteData(changed);
    if (answer.action != Action::kReplace) continue;
    EXPECT_EQ(withoutSiteData(answer.contents).action, Action::kLeave);
  }
}

}  // namespace
