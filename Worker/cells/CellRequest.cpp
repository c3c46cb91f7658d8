#include "Worker/cells/CellRequest.h"

namespace tidewell {
namespace {

bool hasKept(CellTask task) {
  return task == CellTask::kPreferences || task == CellTask::kSession || task == CellTask::kLevelDatabase;
}

using Texts = std::vector<std::string>;

void appendTexts(std::string& bytes, const Texts& texts) {
  appendNumber(bytes, texts.size());
  for (const std::string& text : texts) appendText(bytes, text);
}

std::optional<Texts> nextTexts(ByteReader& reader) {
  Texts texts;
  const auto count = reader.number();
  if (!count) return std::nullopt;
  while (texts.size() < *count) {
    const auto text = reader.text();
    if (!text) return std::nullopt;
    texts.emplace_back(*text);
  }
  return texts;
}

void appendKept(std::string& bytes, const Kept& kept) {
  const KeptSites::Parts sites = kept.sites.parts();
  for (const bool flag : {kept.cookieRules, kept.siteSettings, sites.isUnknown}) appendNumber(bytes, flag);
  for (const Texts* hosts : {&sites.alone, &sites.withAllBelow, &sites.around}) appendTexts(bytes, *hosts);
}

std::optional<Kept> keptFrom(ByteReader& reader) {
  Kept kept;
  KeptSites::Parts sites;
  for (bool* flag : {&kept.cookieRules, &kept.siteSettings, &sites.isUnknown}) *flag = reader.number() == 1;
  for (Texts* hosts : {&sites.alone, &sites.withAllBelow, &sites.around}) {
    auto texts = nextTexts(reader);
    if (!texts) return std::nullopt;
    *hosts = std::move(*texts);
  }
  kept.sites = KeptSites::ofParts(sites);
  return kept;
}

}  // namespace

std::string cellRequest(CellTask task, std::string_view input) {
  std::string message;
  appendNumber(message, static_cast<std::uint64_t>(task));
  appendText(message, input);
  return message;
}

std::string cellRequest(CellTask task, const Kept& kept, std::string_view input) {
  std::string message;
  appendNumber(message, static_cast<std::uint64_t>(task));
  appendKept(message, kept);
  appendText(message, input);
  return message;
}

std::optional<CellRequest> CellRequest::from(std::string_view message) {
  ByteReader reader(message);
  const auto task = reader.number();
  if (!task || *task > static_cast<std::uint64_t>(CellTask::kLevelDatabase)) return std::nullopt;
  CellRequest request{static_cast<CellTask>(*task), {}, {}};
  if (hasKept(request.task)) {
    auto kept = keptFrom(reader);
    if (!kept) return std::nullopt;
    request.kept = std::move(*kept);
  }
  const auto input = reader.text();
  if (!input || !reader.atEnd()) return std::nullopt;
  request.input = *input;
  return request;
}

std::string answerOf(const Rewriting& rewriting) {
  std::string answer(1, static_cast<char>(rewriting.action));
  return answer += rewriting.contents;
}

std::optional<Rewriting> rewritingFrom(std::string_view answer) {
  if (answer.empty() || static_cast<unsigned char>(answer[0]) > static_cast<int>(Rewriting::Action::kLeaveUnread)) {
    return std::nullopt;
  }
  Rewriting rewriting{static_cast<Rewriting::Action>(answer[0]), std::string(answer.substr(1))};
  const bool hasContents = rewriting.action == Rewriting::Action::kReplace;
  return hasContents == !rewriting.contents.empty() ? std::optional(std::move(rewriting)) : std::nullopt;
}

std::string answerOf(const std::optional<std::string>& text) {
  return text ? "+" + *text : "-";
}

std::optional<std::optional<std::string>> textFrom(std::string_view answer) {
  if (answer == "-") return std::optional<std::string>();
  if (!answer.starts_with('+')) return std::nullopt;
  return std::optional<std::string>(answer.substr(1));
}

std::string answerOf(const std::vector<std::string>& texts) {
  std::string answer;
  for (const std::string& text : texts) appendText(answer, text);
  return answer;
}

std::optional<std::vector<std::string>> textsFrom(std::string_view answer) {
  std::vector<std::string> texts;
  for (ByteReader reader(answer); !reader.atEnd();) {
    const auto text = reader.text();
    if (!text) return std::nullopt;
    texts.emplace_back(*text);
  }
  return texts;
}

}  // namespace tidewell
