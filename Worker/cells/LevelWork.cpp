#include "Worker/cells/LevelWork.h"

#include <deque>
#include <utility>

#include "Worker/cells/LevelTalk.h"

namespace tidewell {
namespace {

/// The bytes of one file, which the worker has.
class AskedBytes : public LevelBytes {
 public:
  AskedBytes(const CellAsk& ask, std::uint64_t file) : ask_(ask), file_(file) {}

  platform::Result<std::string> read(const std::string&, std::uint64_t offset, std::size_t count) const override {
    auto reply = ask_(LevelReadQuestion{file_, offset, count}.asMessage());
    auto bytes = reply ? bytesOfLevelReply(std::move(*reply)) : std::nullopt;
    if (!bytes) return std::errc::io_error;
    return std::move(*bytes);
  }

 private:
  const CellAsk& ask_;
  const std::uint64_t file_;
};

/// Passes each file on to the worker.
class AskedOutput : public LevelOutput {
 public:
  explicit AskedOutput(const CellAsk& ask) : ask_(ask) {}

  std::error_code addTable(std::string_view contents) override { return add(LevelSaying::kTable, contents); }
  std::error_code addManifest(std::string_view contents) override { return add(LevelSaying::kManifest, contents); }

 private:
  std::error_code add(LevelSaying kind, std::string_view contents) const {
    auto reply = ask_(levelMessage(kind, contents));
    const bool isDone = reply && bytesOfLevelReply(std::move(*reply));
    return isDone ? std::error_code() : std::make_error_code(std::errc::io_error);
  }

  const CellAsk& ask_;
};

}  // namespace

std::optional<std::string> levelAnswer(const CellRequest& request, const CellAsk& ask) {
  std::deque<AskedBytes> sources;
  const auto input = LevelInput::from(
      request.input, [&](std::size_t place) -> const LevelBytes* { return &sources.emplace_back(ask, place); });
  if (!input) return std::nullopt;
  LevelJudgement judgement;
  LevelReading reading = readingOf(input->database, request.kept.sites, judgement.folders);
  judgement.verdict = reading.judge(input->folder);
  if (judgement.verdict != LevelVerdict::kRewrite) return judgement.asMessage();
  AskedOutput output(ask);
  for (auto order = ask(judgement.asMessage()); order;) {
    const auto firstNumber = ByteReader(*order).number();
    if (!firstNumber) return std::nullopt;
    const bool isDone = reading.rewrite(output, *firstNumber);
    order = ask(levelMessage(isDone ? LevelSaying::kDone : LevelSaying::kFailed));
  }
  return std::nullopt;
}

}  // namespace tidewell
