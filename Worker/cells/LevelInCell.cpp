#include "Worker/cells/LevelInCell.h"

#include <algorithm>

#include "Platform/Platform.h"
#include "Worker/cells/CellRequest.h"

namespace tidewell {
namespace {

// A damaged database is read up to five times. Compressed entries can take twenty times as much as in their table, and
// the fresh ones are as well compressed or not at all.
constexpr std::uint64_t kMostForEachByte = 32;
constexpr std::uint64_t kMostForEachFile = std::uint64_t{1} << 20;  // bytes
constexpr std::uint64_t kLeastForEachQuestion = 4096;               // bytes: a file is opened for it
constexpr std::uint64_t kLargestRead = kLevelMaximalBlock + (std::uint64_t{1} << 20);

}  // namespace

bool LevelInCell::isAffordable(std::uint64_t bytes) {
  const std::uint64_t cost = std::max(bytes, kLeastForEachQuestion);
  if (cost > budget_) return false;
  budget_ -= cost;
  return true;
}

std::optional<std::string> LevelInCell::bytesFor(const LevelReadQuestion& question) {
  if (question.file >= files_.size() || question.count > kLargestRead) return std::nullopt;
  auto bytes = files_[question.file].read(question.offset, static_cast<std::size_t>(question.count));
  return bytes ? std::optional(std::move(*bytes)) : std::nullopt;
}

std::optional<std::string> LevelInCell::replyTo(const LevelMessage& message, LevelOutput* output) {
  if (message.saying == LevelSaying::kRead) {
    const auto question = LevelReadQuestion::from(message.rest);
    const auto bytes = question ? bytesFor(*question) : std::nullopt;
    const bool isAnswered = question && isAffordable(bytes ? bytes->size() : 0);
    return isAnswered ? std::optional(levelReply(bytes)) : std::nullopt;
  }
  if (output == nullptr || !isAffordable(message.rest.size())) return std::nullopt;
  const bool isTable = message.saying == LevelSaying::kTable;
  const std::error_code error = isTable ? output->addTable(message.rest) : output->addManifest(message.rest);
  return levelReply(error ? std::nullopt : std::optional<std::string>(""));
}

std::optional<std::string> LevelInCell::hearAnswer(LevelOutput* output) {
  while (true) {
    auto heard = cell_->hear(kLevelMaximalMemory);
    const auto message = heard ? LevelMessage::from(*heard) : std::nullopt;
    if (!message) return std::nullopt;
    const bool isAnswer = message->saying != LevelSaying::kRead && message->saying != LevelSaying::kTable &&
                          message->saying != LevelSaying::kManifest;
    if (isAnswer) return std::move(*heard);
    const auto reply = replyTo(*message, output);
    if (!reply || cell_->say(*reply)) return std::nullopt;
  }
}

LevelVerdict LevelInCell::judge(const LevelFolder& folder) {
  isUnreadable_ = true;
  files_ = folder.files();
  budget_ = kMostForEachFile;
  for (const LevelFile& file : files_) budget_ += kMostForEachFile + kMostForEachByte * file.size;
  auto opened = platform::Platform::current().cells.open();
  if (!opened) return LevelVerdict::kLeave;
  cell_ = std::move(*opened);
  if (cell_->say(cellRequest(CellTask::kLevelDatabase, {.sites = sites_}, LevelInput::of(database_, folder)))) {
    return LevelVerdict::kLeave;
  }
  const auto answer = hearAnswer(nullptr);
  const auto message = answer ? LevelMessage::from(*answer) : std::nullopt;
  if (!message || message->saying != LevelSaying::kVerdict) return LevelVerdict::kLeave;
  auto judgement = LevelJudgement::from(message->rest);
  if (!judgement) return LevelVerdict::kLeave;
  folders_ = std::move(judgement->folders);
  isUnreadable_ = judgement->verdict == LevelVerdict::kLeave;
  return judgement->verdict;
}

bool LevelInCell::rewrite(LevelOutput& output, std::uint64_t firstNumber) {
  std::string order;
  appendNumber(order, firstNumber);
  const auto answer = cell_->say(order) ? std::nullopt : hearAnswer(&output);
  const bool isDone = answer && *answer == levelMessage(LevelSaying::kDone);
  isUnreadable_ = !answer;
  return isDone;
}

bool LevelInCell::approves(const LevelFolder& fresh) {
  LevelFolder folder = fresh;
  folder.hasOthersFolders = true;  // so that one without entries stays
  LevelInCell second(database_, sites_);
  isUnreadable_ = second.judge(folder) != LevelVerdict::kIsFine;
  return !isUnreadable_;
}

}  // namespace tidewell
