#include "Worker/formats/leveldb/LevelDatabase.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "Platform/Path.h"
#include "Platform/Platform.h"
#include "Worker/Identity.h"
#include "Worker/formats/leveldb/FreshLevelFiles.h"
#include "Worker/formats/leveldb/LevelSource.h"

namespace tidewell {
namespace {

using platform::Platform;
using Outcome = LevelDatabase::Outcome;
using Removal = LevelDatabase::Removal;

constexpr std::size_t kLongestCurrent = std::size_t{1} << 20;  // bytes, of the file that names the manifest

/// Keeps other threads from rewriting the same folder: there may be no lock file yet.
class Claim {
 public:
  explicit Claim(std::string folder) : folder_(std::move(folder)) {
    const std::lock_guard lock(mutex());
    isHeld_ = claimed().insert(folder_).second;
  }
  ~Claim() {
    const std::lock_guard lock(mutex());
    if (isHeld_) claimed().erase(folder_);
  }
  Claim(const Claim&) = delete;
  Claim& operator=(const Claim&) = delete;

  bool isHeld() const { return isHeld_; }

 private:
  static std::mutex& mutex() {
    static std::mutex mutex;
    return mutex;
  }
  static std::set<std::string>& claimed() {  // guarded by mutex()
    static std::set<std::string> folders;
    return folders;
  }

  const std::string folder_;
  bool isHeld_ = false;
};

/// A database that is locked against other processes as long as this lives.
struct Held {
  std::unique_ptr<platform::FileLock> lock;  // null without a lock file: nobody has opened the database
  LevelFolder files;
};

LevelFolder::State hold(const std::string& folder, Held& held, const std::vector<std::string>& othersFolders = {}) {
  std::optional<std::string> lockPath;
  const LevelFolder::State state = LevelFolder::findLock(folder, lockPath);
  if (state != LevelFolder::State::kDatabase) return state;
  if (lockPath) {
    auto lock = Platform::current().fileManagerOnOneMount.lockFile(*lockPath);
    if (!lock) return LevelFolder::State::kStrange;
    held.lock = std::move(*lock);
  }
  return LevelFolder::lookAt(folder, held.files, othersFolders);
}

/// Whether a database that had no lock file has been opened since it was examined: that makes one.
bool isOpenedSince(const Held& held) {
  std::optional<std::string> lock;
  return !held.lock && (LevelFolder::findLock(held.files.path, lock) != LevelFolder::State::kDatabase || lock);
}

std::string withoutSlash(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

bool isFolder(const std::string& path) {
  const auto attributes = Platform::current().fileManagerOnOneMount.attributesOfItem(path);
  if (!attributes) return false;
  const auto type = attributes->find(platform::kFileType);
  return type != attributes->end() && type->second == platform::Value(platform::kFileTypeDirectory);
}

/// Passes everything in a folder to `remove`, and then the folder: first the file that makes it a database, last the
/// lock file, whose lock is released before (removing a file may open it, which would end the lock anyway).
void removeAll(const std::string& folder, const Removal& remove, std::unique_ptr<platform::FileLock> lock = nullptr) {
  const auto rank = [](const std::string& name) { return name == "CURRENT" ? 0 : name == "LOCK" ? 2 : 1; };
  auto names = Platform::current().fileManagerOnOneMount.contentsOfDirectory(folder);
  if (names) {
    std::sort(names->begin(), names->end(), [rank](const std::string& one, const std::string& other) {
      return std::pair(rank(one), one) < std::pair(rank(other), other);
    });
    for (const std::string& name : *names) {
      const std::string path = platform::appendingPathComponent(folder, name);
      if (name == "LOCK") lock.reset();
      if (isFolder(path)) {
        removeAll(path, remove);
      } else {
        remove(path);
      }
    }
  }
  lock.reset();
  remove(folder);
}

/// Removes what an earlier call left when it was killed: the old database, or a part of the fresh one.
void removeLeftover(const std::string& aside, const Removal& remove) {
  if (isFolder(aside)) {
    removeAll(aside, remove);
  } else if (Platform::current().fileManagerOnOneMount.attributesOfItem(aside)) {
    remove(aside);
  }
}

enum class TakeOver { kDone, kNotDone, kHalfDone };

/// Makes the fresh files the database in the place of the old ones, among which they lie.
TakeOver takeOver(const LevelFolder& folder, FreshLevelFiles& fresh, const Removal& remove) {
  if (!folder.current) return fresh.makeCurrent() ? TakeOver::kNotDone : TakeOver::kDone;
  const auto old = fresh.exchangeCurrent();
  if (old) remove(*old);
  if (old || old.error() != std::errc::not_supported) return old ? TakeOver::kDone : TakeOver::kNotDone;
  platform::FileManager& files = Platform::current().fileManagerOnOneMount;
  const auto oldCurrent = folder.current->read(0, kLongestCurrent).value();
  if (!oldCurrent || files.removeItem(folder.current->path).error) return TakeOver::kNotDone;
  if (!fresh.makeCurrent()) return TakeOver::kDone;
  const bool isBack = !files.createFile(folder.current->path, *oldCurrent, 0600);
  return isBack ? TakeOver::kNotDone : TakeOver::kHalfDone;
}

/// For file systems that can't exchange two folders, and for a folder that holds others: writes the fresh files beside
/// the old ones, under other numbers. If the system stops while neither is the database, which can only be where two
/// files can't be exchanged either, the next call finds the entries of both, which agree, and completes the work.
Outcome rewriteInPlace(const Held& held, LevelReader& reader, const Removal& remove) {
  const LevelFolder& folder = held.files;
  const std::uint64_t number = folder.freeNumber();
  FreshLevelFiles fresh(folder.path, number);
  const bool isWritten = reader.rewrite(fresh, number) && reader.approves(fresh.asFolder()) && !isOpenedSince(held);
  const TakeOver taken = isWritten ? takeOver(folder, fresh, remove) : TakeOver::kNotDone;
  if (taken == TakeOver::kNotDone) fresh.takeBack();
  if (taken != TakeOver::kDone) return Outcome::kLeft;
  for (const LevelFile& file : folder.files()) {
    if (!folder.current || file.path != folder.current->path) remove(file.path);
  }
  if (folder.lost) remove(*folder.lost);
  return Outcome::kRewritten;
}

Outcome rewrite(Held held, LevelReader& reader, const Removal& remove) {
  if (held.files.hasOthersFolders) return rewriteInPlace(held, reader, remove);
  platform::FileManager& files = Platform::current().fileManagerOnOneMount;
  const std::string aside = held.files.path + kAsideSuffix;
  if (files.createFolder(aside)) return Outcome::kLeft;
  FreshLevelFiles fresh(aside, 1);
  std::error_code error = std::make_error_code(std::errc::io_error);
  if (reader.rewrite(fresh, 1) && reader.approves(fresh.asFolder()) && !fresh.makeCurrent() && !fresh.makeLock() &&
      !isOpenedSince(held)) {
    error = files.exchangeItems(held.files.path, aside);
  }
  if (!error) {
    removeAll(aside, remove, std::move(held.lock));
    return Outcome::kRewritten;
  }
  files.removeItem(aside);  // what can't be removed now, the next call removes first
  return error == std::errc::not_supported ? rewriteInPlace(held, reader, remove) : Outcome::kLeft;
}

Outcome removeDatabase(Held held, const Removal& remove) {
  if (isOpenedSince(held)) return Outcome::kLeft;
  if (!held.files.hasOthersFolders) {
    removeAll(held.files.path, remove, std::move(held.lock));
    return Outcome::kRemoved;
  }
  for (const LevelFile& file : held.files.files()) remove(file.path);
  if (held.files.lost) remove(*held.files.lost);
  held.lock.reset();
  if (held.files.lock) remove(*held.files.lock);
  return Outcome::kRemoved;
}

}  // namespace

Outcome LevelDatabase::keepOnly(const std::string& path, LevelReader& reader, const Removal& remove,
                                const std::vector<std::string>& othersFolders) {
  const std::string folder = withoutSlash(path);
  const Claim claim(folder);
  if (!claim.isHeld()) return Outcome::kLeft;
  removeLeftover(folder + kAsideSuffix, remove);

  Held held;
  const LevelFolder::State state = hold(folder, held, othersFolders);
  if (state == LevelFolder::State::kStrange) return Outcome::kLeft;
  if (state == LevelFolder::State::kAbsent) return Outcome::kAbsent;

  const LevelFolder files = held.files;
  switch (reader.judge(files)) {
    case LevelVerdict::kIsFine:
      return Outcome::kRewritten;
    case LevelVerdict::kRemove:
      return removeDatabase(std::move(held), remove);
    case LevelVerdict::kRewrite:
      return rewrite(std::move(held), reader, remove);
    case LevelVerdict::kLeave:
      break;
  }
  return Outcome::kLeft;
}

std::optional<std::map<std::string, std::string>> LevelDatabase::entries(const std::string& folder) {
  Held held;
  if (hold(folder, held) != LevelFolder::State::kDatabase) return std::nullopt;
  LevelSource source(held.files, [](std::string_view, std::string_view) { return true; });
  if (source.open() != LevelCondition::kSound) return std::nullopt;
  std::map<std::string, std::string> entries;
  const LevelCondition condition = source.walk([&](std::string_view key, std::string_view value) {
    entries.emplace_hint(entries.end(), key, value);
    return true;
  });
  return condition == LevelCondition::kSound ? std::optional(std::move(entries)) : std::nullopt;
}

}  // namespace tidewell
