#include "Worker/cells/LevelTalk.h"

#include <utility>

#include "Platform/Path.h"

namespace tidewell {
namespace {

enum Kind : std::uint64_t { kCurrent, kManifest, kLog, kTable, kOther, kKinds };

constexpr std::uint64_t kHasOthersFolders = 1;
constexpr std::uint64_t kHasLost = 2;

void append(std::string& bytes, Kind kind, std::uint64_t number, const LevelFile& file) {
  for (const std::uint64_t value : {std::uint64_t{kind}, number, file.size}) appendNumber(bytes, value);
  appendText(bytes, kind == kManifest ? platform::lastPathComponent(file.path) : std::string());
}

}  // namespace

std::optional<LevelMessage> LevelMessage::from(std::string_view message) {
  if (message.empty()) return std::nullopt;
  return LevelMessage{static_cast<LevelSaying>(message[0]), message.substr(1)};
}

std::string levelMessage(LevelSaying saying, std::string_view bytes) {
  std::string message(1, static_cast<char>(saying));
  return message += bytes;
}

std::string LevelReadQuestion::asMessage() const {
  std::string message = levelMessage(LevelSaying::kRead);
  for (const std::uint64_t number : {file, offset, count}) appendNumber(message, number);
  return message;
}

std::optional<LevelReadQuestion> LevelReadQuestion::from(std::string_view rest) {
  ByteReader reader(rest);
  const auto file = reader.number();
  const auto offset = reader.number();
  const auto count = reader.number();
  if (!count || !reader.atEnd()) return std::nullopt;
  return LevelReadQuestion{*file, *offset, *count};
}

std::string LevelJudgement::asMessage() const {
  std::string message = levelMessage(LevelSaying::kVerdict);
  appendNumber(message, static_cast<std::uint64_t>(verdict));
  for (const std::string& name : folders) appendText(message, name);
  return message;
}

std::optional<LevelJudgement> LevelJudgement::from(std::string_view rest) {
  ByteReader reader(rest);
  const auto verdict = reader.number();
  if (!verdict || *verdict > static_cast<std::uint64_t>(LevelVerdict::kRewrite)) return std::nullopt;
  LevelJudgement judgement{static_cast<LevelVerdict>(*verdict)};
  while (!reader.atEnd()) {
    const auto name = reader.text();
    if (!name) return std::nullopt;
    judgement.folders.emplace(*name);
  }
  return judgement;
}

std::string levelReply(const std::optional<std::string>& bytes) {
  return bytes ? "+" + *bytes : "-";
}

std::optional<std::string> bytesOfLevelReply(std::string reply) {
  if (!reply.starts_with('+')) return std::nullopt;
  reply.erase(0, 1);
  return reply;
}

std::string LevelInput::of(ChromiumDatabase database, const LevelFolder& folder) {
  std::string input;
  appendNumber(input, static_cast<std::uint64_t>(database));
  appendNumber(input, (folder.hasOthersFolders ? kHasOthersFolders : 0) | (folder.lost ? kHasLost : 0));
  // In the order of LevelFolder::files().
  if (folder.current) append(input, kCurrent, 0, *folder.current);
  for (const auto& [kind, files] :
       {std::pair(kManifest, &folder.manifests), std::pair(kLog, &folder.logs), std::pair(kTable, &folder.tables)}) {
    for (const auto& [number, file] : *files) append(input, kind, number, file);
  }
  for (const LevelFile& file : folder.others) append(input, kOther, 0, file);
  return input;
}

std::optional<std::vector<LevelInput::Entry>> LevelInput::entriesIn(std::string_view input, LevelInput& result) {
  ByteReader reader(input);
  const auto database = reader.number();
  const auto flags = reader.number();
  if (!flags || *database > static_cast<std::uint64_t>(ChromiumDatabase::kPushKeys)) return std::nullopt;
  result.database = static_cast<ChromiumDatabase>(*database);
  result.folder.hasOthersFolders = (*flags & kHasOthersFolders) != 0;
  if ((*flags & kHasLost) != 0) result.folder.lost.emplace();
  std::vector<Entry> entries;
  while (!reader.atEnd()) {
    const auto kind = reader.number();
    const auto number = reader.number();
    const auto size = reader.number();
    const auto name = reader.text();
    if (!name || *kind >= kKinds) return std::nullopt;
    entries.push_back({*kind, *number, {std::string(*name), *size, nullptr}});
  }
  return entries;
}

void LevelInput::put(Entry entry) {
  switch (entry.kind) {
    case kCurrent:
      folder.current = std::move(entry.file);
      return;
    case kManifest:
      folder.manifests[entry.number] = std::move(entry.file);
      return;
    case kLog:
      folder.logs[entry.number] = std::move(entry.file);
      return;
    case kTable:
      folder.tables[entry.number] = std::move(entry.file);
      return;
    default:
      folder.others.push_back(std::move(entry.file));
  }
}

}  // namespace tidewell
