#include "Worker/cells/InCell.h"

#include <algorithm>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/cells/CellRequest.h"
#include "Worker/formats/SessionStore.h"

namespace tidewell {
namespace {

using platform::Cell;

constexpr std::size_t kGrowthOfTabs = 16;
constexpr std::size_t kMostFailures = 32;  // of one store: each may take a cell's whole time
constexpr std::size_t kForm = 16;          // bytes that an answer may have beside those that it was made of

/// Asks a cell, which is opened if there is none. Where it fails it is no cell any more.
std::optional<std::string> ask(std::unique_ptr<Cell>& cell, const std::string& request, std::size_t largest) {
  if (!cell) {
    auto opened = platform::Platform::current().cells.open();
    if (!opened) return std::nullopt;
    cell = std::move(*opened);
  }
  if (!cell->say(request)) {
    if (auto answer = cell->hear(largest)) return std::move(answer).value();
  }
  cell.reset();
  return std::nullopt;
}

std::optional<std::string> askOne(const std::string& request, std::size_t largest) {
  std::unique_ptr<Cell> cell;
  return ask(cell, request, largest);
}

/// Whether `rest` is what is left of the text when parts of it are taken out.
bool isLeftOf(std::string_view text, std::string_view rest) {
  std::size_t found = 0;
  for (const char byte : text) {
    if (found < rest.size() && rest[found] == byte) ++found;
  }
  return found == rest.size();
}

/// What becomes of a file, and whether a second cell finds nothing more to do in it.
template <typename MakeRequest>
Rewriting rewriting(std::string_view file, std::size_t largest, const MakeRequest& request) {
  const auto answer = askOne(request(file), largest + kForm);
  auto result = answer ? rewritingFrom(*answer) : std::nullopt;
  if (!result) return Rewriting::leaveUnread();
  if (result->action != Rewriting::Action::kReplace) return std::move(*result);
  const auto second = askOne(request(result->contents), kForm);  // that there is nothing to do takes no more
  const auto again = second ? rewritingFrom(*second) : std::nullopt;
  const bool isDone = again && again->action == Rewriting::Action::kLeave;
  return isDone ? std::move(*result) : Rewriting::leaveUnread();
}

}  // namespace

Rewriting InCell::withoutSites(std::string_view preferences, const Kept& kept) {
  auto result = rewriting(preferences, preferences.size(),
                          [&kept](std::string_view text) { return cellRequest(CellTask::kPreferences, kept, text); });
  const bool isReplaced = result.action == Rewriting::Action::kReplace;
  if (result.action == Rewriting::Action::kRemove) return Rewriting::leaveUnread();  // not for this reader to say
  return !isReplaced || isLeftOf(preferences, result.contents) ? result : Rewriting::leaveUnread();
}

Rewriting InCell::withoutSiteData(std::string_view jsonlz4, const KeptSites& sites) {
  // Unpacked in one cell and read in another, so that what was read is known here.
  const auto unread = [&sites] { return sites.isEmpty() ? Rewriting::remove() : Rewriting::leaveUnread(); };
  const auto unpacked = askOne(cellRequest(CellTask::kUnpackedSession, jsonlz4), kLargestSession + kForm);
  const auto text = unpacked ? textFrom(*unpacked) : std::nullopt;
  if (!text) return Rewriting::leaveUnread();
  if (!*text) return unread();
  const auto read = [&sites](std::string_view session) -> std::optional<std::optional<std::string>> {
    const auto answer = askOne(cellRequest(CellTask::kSession, {.sites = sites}, session), session.size() + kForm);
    return answer ? textFrom(*answer) : std::nullopt;
  };
  const auto rest = read(**text);
  if (!rest) return Rewriting::leaveUnread();
  if (!*rest) return unread();
  if (**rest == **text) return Rewriting::leave();
  const auto again = isLeftOf(**text, **rest) ? read(**rest) : std::nullopt;
  const bool isDone = again && *again == *rest;
  return isDone ? Rewriting::replaceBy(packedSession(**rest)) : Rewriting::leaveUnread();
}

Rewriting InCell::withoutPageStates(std::string_view file, TabFile kind) {
  const CellTask task = kind == TabFile::kOpen ? CellTask::kOpenTabs : CellTask::kClosedTabs;
  // In the place of what a site has stored with a page is put what a browser stores where there is nothing.
  const std::size_t largest = file.size() * kGrowthOfTabs;
  return rewriting(file, largest, [task](std::string_view bytes) { return cellRequest(task, bytes); });
}

bool InCell::isReadableTabFile(std::string_view file) {
  const auto answer = askOne(cellRequest(CellTask::kIsTabFile, file), kForm);
  const auto is = answer ? textFrom(*answer) : std::nullopt;
  return is && *is;
}

ProfileMap InCell::profilesOfLocalState(std::string_view text) {
  // An escape can make one byte more of two; each text has its length before it.
  const auto answer = askOne(cellRequest(CellTask::kListInLocalState, text), 2 * text.size() + kForm);
  const auto pairs = answer ? textsFrom(*answer) : std::nullopt;
  ProfileMap profiles;
  if (!pairs || pairs->size() % 2 != 0) return profiles;
  for (std::size_t index = 0; index < pairs->size(); index += 2) profiles[(*pairs)[index]] = (*pairs)[index + 1];
  return profiles;
}

std::vector<std::string> InCell::listedProfiles(std::string_view list) {
  const auto answer = askOne(cellRequest(CellTask::kListInProfilesIni, list), 2 * list.size() + kForm);
  auto profiles = answer ? textsFrom(*answer) : std::nullopt;
  if (!profiles) return {};
  // None leads up, whoever has answered.
  std::erase_if(*profiles, [](const std::string& profile) {
    const std::vector<std::string> components = platform::pathComponents(profile);
    const bool isRooted = !components.empty() && components[0] == "/";
    return components.size() < 2 ||
           !std::all_of(components.begin() + (isRooted ? 1 : 0), components.end(), platform::isPlainName);
  });
  return std::move(*profiles);
}

std::vector<OwnersInCell::Answer> OwnersInCell::ownersIn(std::span<const std::string_view> files) {
  std::vector<Answer> answers(files.size());
  if (!files.empty()) readInHalves(files, answers);
  return answers;
}

void OwnersInCell::readInHalves(std::span<const std::string_view> files, std::span<Answer> answers) {
  if (failures_ >= kMostFailures || read(files, answers)) return;
  cell_.reset();
  ++failures_;
  if (files.size() == 1) return;
  const std::size_t half = files.size() / 2;
  readInHalves(files.first(half), answers.first(half));
  readInHalves(files.subspan(half), answers.subspan(half));
}

/// False, and no answers, when the cell has failed.
bool OwnersInCell::read(std::span<const std::string_view> files, std::span<Answer> answers) {
  std::string input;
  for (const std::string_view file : files) appendText(input, file);
  const auto told = ask(cell_, cellRequest(task_, input), input.size() + files.size() * kForm);
  const auto texts = told ? textsFrom(*told) : std::nullopt;
  if (!texts || texts->size() != files.size()) return false;
  std::vector<Answer> owners;
  for (std::size_t index = 0; index < files.size(); ++index) {
    auto owner = textFrom((*texts)[index]);
    if (!owner || (*owner && files[index].find(**owner) == std::string_view::npos)) return false;
    owners.push_back(std::move(owner));
  }
  std::move(owners.begin(), owners.end(), answers.begin());
  return true;
}

}  // namespace tidewell
