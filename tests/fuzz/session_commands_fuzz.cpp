// A file of Chromium's tabs with any content, and a page with any state: nothing of it is left, and a second pass
// changes nothing.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "Worker/formats/Pickle.h"
#include "Worker/formats/SessionCommands.h"

namespace {

using Action = tidewell::Rewriting::Action;
using tidewell::TabFile;

constexpr std::size_t kMark = 24;  // bytes that occur in nothing that is written anew

tidewell::Rewriting rewrite(std::string_view file, TabFile kind) {
  tidewell::Rewriting answer = tidewell::withoutPageStates(file, kind);
  if (answer.action != Action::kReplace) return answer;
  if (tidewell::withoutPageStates(answer.contents, kind).action != Action::kLeave) std::abort();
  return answer;
}

/// A file with one page of a site, which has stored these bytes.
std::string fileWithState(std::string_view state) {
  tidewell::PickleWriter page;
  page.number(1);
  page.number(0);
  page.text("https://a.test/");
  page.wideText("");
  page.text(state);
  page.number(0);
  const std::string pickle = page.pickle();
  std::string file("SNSS\3\0\0\0", 8);
  tidewell::appendFixedNumber(file, pickle.size() + 1, 2);
  return file + '\6' + pickle;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  rewrite(text, TabFile::kOpen);
  rewrite(text, TabFile::kClosed);
  if (size < kMark || size > 60'000) return 0;
  const auto answer = rewrite(fileWithState(text), TabFile::kOpen);
  if (answer.action != Action::kReplace) std::abort();
  if (answer.contents != rewrite(fileWithState("other state, as long as it"), TabFile::kOpen).contents) std::abort();
  return 0;
}
