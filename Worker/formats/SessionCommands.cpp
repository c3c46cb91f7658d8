#include "Worker/formats/SessionCommands.h"

#include <algorithm>
#include <array>

#include "Worker/formats/ByteReader.h"
#include "Worker/formats/Pickle.h"

namespace tidewell {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kMagic = "SNSS";
constexpr std::size_t kHeader = 8;  // the magic and the version
constexpr std::size_t kLongestCommand = 0xffff;

// Others are encrypted, or of later browsers.
constexpr std::uint64_t kVersion = 1;
constexpr std::uint64_t kVersionWithMarker = 3;

std::optional<std::uint64_t> versionOf(std::string_view file) {
  if (file.size() < kHeader || !file.starts_with(kMagic)) return std::nullopt;
  return littleEndian(file.substr(kMagic.size(), kHeader - kMagic.size()));
}

/// One page in the history of a tab.
struct Page {
  std::uint32_t tab, index;
  std::string_view address, title, state;
  std::uint32_t transition;
  // What files of earlier versions may lack.
  std::uint32_t hasOtherAgent = 0;  // whether the site is told of another browser
  std::uint64_t time = 0;
  std::uint32_t status = 0;  // of HTTP
  std::array<std::uint64_t, 3> tasks{kNoTask, kNoTask, kNoTask};

  static constexpr std::uint64_t kNoTask = ~std::uint64_t{0};
};

std::optional<Page> pageOf(std::string_view pickle) {
  PickleReader reader(pickle);
  const auto tab = reader.number(), index = reader.number();
  const auto address = reader.text(), title = reader.wideText(), state = reader.text();
  const auto transition = reader.number();
  if (!transition) return std::nullopt;
  Page page{*tab, *index, *address, *title, *state, *transition};
  reader.number();  // whether a form was sent
  reader.text();    // the page that led here
  reader.number();  // how much of that is told, once
  reader.text();    // the address before redirections
  page.hasOtherAgent = reader.number().value_or(0);
  page.time = reader.longNumber().value_or(0);
  reader.wideText();  // what was searched for, once
  page.status = reader.number().value_or(0);
  reader.number();  // how much of the page that led here is told
  for (auto count = reader.number().value_or(0); count > 0; --count) {
    reader.text();
    if (!reader.text()) break;
  }
  for (std::uint64_t& task : page.tasks) task = reader.longNumber().value_or(Page::kNoTask);
  return page;
}

bool hasScheme(std::string_view address, std::initializer_list<std::string_view> schemes) {
  return std::any_of(schemes.begin(), schemes.end(), [&](auto scheme) { return address.starts_with(scheme); });
}

/// Whether a page is an extension's or the browser's own, and its command names no site: in a frame, a form, or as the
/// page that led to it.
bool isNoSites(const Page& page, std::string_view command) {
  return hasScheme(page.address, {"chrome-extension:", "chrome:", "brave:", "edge:", "opera:", "vivaldi:"}) &&
         command.find("http"sv) == std::string_view::npos && command.find("h\0t\0t\0p\0"sv) == std::string_view::npos;
}

/// The state of a page in which nothing is stored, in the form of version 25, which all later browsers read as well.
/// The number tells the tab's pages apart: those with the same one count as one document, and the way back from one
/// to another would load nothing. "" stands for an address that is not loaded as it is shown.
std::string emptyStateOf(std::string_view address, std::uint64_t number) {
  constexpr std::uint32_t kStateVersion = 25, kNoText = ~0U, kDefaultPolicy = 1;
  if (!hasScheme(address, {"http:", "https:", "file:"})) return "";
  std::string wideAddress;
  for (const char character : address) {
    if (static_cast<unsigned char>(character) >= 0x80) return "";  // an address that is none
    wideAddress += {character, '\0'};
  }
  PickleWriter state;
  state.number(kStateVersion);
  state.number(0);          // files in forms
  state.text(wideAddress);  // its size is counted in bytes here
  state.number(kNoText);    // the name of the window
  state.number(0);          // no place to scroll to
  state.number(kNoText);    // the page that led here
  state.number(0);          // texts in forms
  state.longNumber(number);
  state.longNumber(number);
  state.number(kDefaultPolicy);
  for (int field = 0; field < 3; ++field) state.number(0);  // how to scroll; no state of scripts, no form that was sent
  state.number(kNoText);                                    // nor its type
  state.number(0);                                          // frames
  return state.pickle();
}

std::string pickleOf(const Page& page, std::string_view state) {
  constexpr std::uint32_t kObsoletePolicy = 2, kDefaultPolicy = 1;
  PickleWriter pickle;
  pickle.number(page.tab);
  pickle.number(page.index);
  pickle.text(page.address);
  pickle.wideText(page.title);
  pickle.text(state);
  pickle.number(page.transition);
  pickle.number(0);  // no form was sent
  pickle.text("");   // no page led here
  pickle.number(kObsoletePolicy);
  pickle.text("");  // the address before redirections
  pickle.number(page.hasOtherAgent);
  pickle.longNumber(page.time);
  pickle.wideText("");
  pickle.number(page.status);
  pickle.number(kDefaultPolicy);
  pickle.number(0);  // other notes
  for (const std::uint64_t task : page.tasks) pickle.longNumber(task);
  pickle.number(0);
  return pickle.pickle();
}

/// The page's command without what the site has stored; "" when the page can't be read.
std::string withoutState(std::string_view command, std::uint64_t number) {
  const auto page = pageOf(command.substr(1));
  if (!page) return "";
  if (isNoSites(*page, command)) return std::string(command);
  std::string result = command[0] + pickleOf(*page, emptyStateOf(page->address, number));
  if (result.size() > kLongestCommand) result = command[0] + pickleOf(*page, "");
  return result.size() > kLongestCommand ? "" : result;
}

}  // namespace

bool isReadableTabFile(std::string_view file) {
  const auto version = versionOf(file);
  return version == kVersion || version == kVersionWithMarker;
}

Rewriting withoutPageStates(std::string_view file, TabFile kind) {
  if (file.empty()) return Rewriting::leaveUnread();  // too large to be read
  if (!isReadableTabFile(file)) {
    return versionOf(file) && file.size() > kHeader ? Rewriting::leaveUnread() : Rewriting::remove();
  }
  const char ofPage = kind == TabFile::kOpen ? 6 : 1;
  std::string result(file.substr(0, kHeader));
  ByteReader reader(file.substr(kHeader));
  std::uint64_t pages = 0;
  while (!reader.atEnd()) {
    const auto size = reader.fixedNumber(2);
    const auto command = size && *size > 0 ? reader.bytes(*size) : std::nullopt;
    if (!command) {
      if (pages == 0) return Rewriting::remove();
      break;
    }
    const bool isPage = command->front() == ofPage;
    const std::string rest = isPage ? withoutState(*command, pages + 1) : std::string(*command);
    if (rest.empty()) continue;
    if (isPage) ++pages;
    appendFixedNumber(result, rest.size(), 2);
    result += rest;
  }
  return result == file ? Rewriting::leave() : Rewriting::replaceBy(std::move(result));
}

}  // namespace tidewell
