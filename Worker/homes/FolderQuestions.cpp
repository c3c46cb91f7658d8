#include "Worker/homes/FolderQuestions.h"

#include <algorithm>
#include <set>

#include "Platform/Platform.h"
#include "Worker/browsers/EnabledBrowsers.h"
#include "Worker/homes/NeverAsked.h"
#include "Worker/sandbox/GrantedFiles.h"

namespace tidewell {
namespace {

using platform::Platform;

/// Links can give a folder several names.
std::string withoutLinks(const std::string& folder) {
  return Platform::current().fileManager.urlByResolvingSymlinks(platform::FileURL(folder, true)).path();
}

void onMainThread(const platform::Task& task) {
  platform::Dispatch& dispatch = Platform::current().dispatch;
  if (dispatch.isMainThread()) return task();
  dispatch.mainQueue().sync(task);
}

}  // namespace

FolderQuestions::Occasion FolderQuestions::newOccasion() {
  const std::lock_guard lock(mutex_);
  return ++last_;
}

bool FolderQuestions::isNeverAsked(const std::string& folder) {
  return isNeverAskedFor(withoutLinks(folder));
}

std::vector<std::string> FolderQuestions::missing(const Layout& layout, const Browser& browser,
                                                  const Cause& cause) const {
  std::vector<std::string> folders = layout.foldersNeededBy(browser);
  std::erase_if(folders,
                [&](const std::string& folder) { return !isToBeAskedFor(withoutLinks(folder), browser, cause); });
  return folders;
}

void FolderQuestions::ask(const Layout& layout, const Browser& browser, const Cause& cause) {
  std::set<std::string> asked;
  // Twice: a list of profiles in a newly granted folder may name more folders.
  for (int round = 0; round < 2; ++round) {
    for (const std::string& needed : missing(layout, browser, cause)) {
      const std::string folder = withoutLinks(needed);
      if (!asked.insert(folder).second) continue;
      // The main thread shows one panel at a time, so what others were answered is known by then.
      onMainThread([&] {
        if (isToBeAskedFor(folder, browser, cause)) askFor(folder);
      });
    }
  }
}

void FolderQuestions::stop() {
  const std::lock_guard lock(mutex_);
  isStopped_ = true;
}

bool FolderQuestions::isToBeAskedFor(const std::string& folder, const Browser& browser, const Cause& cause) const {
  if (GrantedFiles::isGranted(folder)) return false;
  if (!cause.isByHand && (!isEnabled(browser) || isNeverAskedFor(folder))) return false;
  const std::lock_guard lock(mutex_);
  if (isStopped_) return false;
  const auto refusal = refusals_.find(folder);
  return refusal == refusals_.end() || refusal->second < cause.occasion;
}

void FolderQuestions::askFor(const std::string& folder) {
  switch (GrantedFiles::obtain(folder)) {
    case Consent::kGiven:
      return askAgainForWhatIsGranted();
    case Consent::kNever:
      neverAskAgainFor(folder);
      break;
    case Consent::kRefused:
      break;
  }
  const std::lock_guard lock(mutex_);
  refusals_[folder] = last_;
}

}  // namespace tidewell
