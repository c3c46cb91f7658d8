#include "Worker/formats/leveldb/LevelReading.h"

#include "Worker/formats/leveldb/LevelSearch.h"

namespace tidewell {

LevelCondition LevelReading::survey(LevelCondition opened) {
  stays_.clear();
  keepsAny_ = false;
  keepsAll_ = true;
  if (opened != LevelCondition::kSound) return opened;
  const LevelCondition condition = source_->walk([this](std::string_view key, std::string_view value) {
    const bool stays = isKept_(key, value);
    stays_.push_back(stays);
    keepsAny_ = keepsAny_ || stays;
    keepsAll_ = keepsAll_ && stays;
    return true;
  });
  keepsAll_ = keepsAll_ && !source_->hasUnwanted();
  return condition;
}

LevelVerdict LevelReading::judge(const LevelFolder& folder) {
  const LevelVerdict verdict = verdictOn(folder);
  isUnreadable_ = verdict == LevelVerdict::kLeave;
  return verdict;
}

LevelVerdict LevelReading::verdictOn(const LevelFolder& folder) {
  source_ = std::make_unique<LevelSource>(folder, isKept_);
  LevelCondition condition = survey(source_->open());
  const bool isDamaged = condition == LevelCondition::kDamaged;
  if (isDamaged) {
    source_ = std::make_unique<LevelSource>(folder, isKept_);
    condition = survey(source_->openAll());
  }
  const bool isTooLarge = condition == LevelCondition::kTooLarge;
  if (condition != LevelCondition::kSound && !isTooLarge) return LevelVerdict::kLeave;
  if (isTooLarge || (isDamaged && source_->hasLoss())) {
    return levelFolderHolds(folder, isPrecious_) ? LevelVerdict::kLeave : LevelVerdict::kRemove;
  }
  if (!keepsAny_ && !folder.hasOthersFolders) return LevelVerdict::kRemove;
  return keepsAll_ && !isDamaged && source_->isTidy() ? LevelVerdict::kIsFine : LevelVerdict::kRewrite;
}

bool LevelReading::rewrite(LevelOutput& output, std::uint64_t firstNumber) {
  LevelWriter writer(output, firstNumber);
  std::size_t index = 0;
  bool isFine = true;
  const LevelCondition condition = source_->walk([&](std::string_view key, std::string_view value) {
    isFine = index < stays_.size() && (!stays_[index] || !writer.add(key, value));
    ++index;
    return isFine;
  });
  return isFine && condition == LevelCondition::kSound && index == stays_.size() && !writer.finish();
}

}  // namespace tidewell
