#include "MainApplication/preview/PreviewFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Platform/Path.h"

namespace tidewell {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDatabase = "SQLite format 3";  // how a database file begins

class Copy : public platform::PinnedRegularFile {
 public:
  explicit Copy(std::string path) : path_(std::move(path)) {}
  const std::string& path() const override { return path_; }
  bool isInPlace() const override { return true; }

 private:
  const std::string path_;
};

constexpr char kTemporary[] = "/tmp/";
constexpr char kPrefix[] = "tidewell-preview-";

platform::linux_::FileDescriptor opened(const std::string& folder) {
  return platform::linux_::FileDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Locks the folder until the descriptor is closed; false while another process, or another object, holds it.
bool isLocked(const platform::linux_::FileDescriptor& folder) {
  return folder && ::flock(folder.get(), LOCK_EX | LOCK_NB) == 0;
}

bool isOwn(const platform::linux_::FileDescriptor& folder) {
  struct stat status {};
  return folder && ::fstat(folder.get(), &status) == 0 && status.st_uid == ::geteuid();
}

/// Removes the folders that no process holds any longer: copies of databases are in them.
void removeAbandoned() {
  std::error_code error;
  std::vector<std::string> found;
  for (fs::directory_iterator entry(kTemporary, error), end; !error && entry != end; entry.increment(error)) {
    if (entry->path().filename().string().starts_with(kPrefix)) found.push_back(entry->path().string());
  }
  for (const std::string& path : found) {
    const platform::linux_::FileDescriptor folder = opened(path);
    if (isOwn(folder) && isLocked(folder)) fs::remove_all(path, error);
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  removeAbandoned();
  do {
    std::string pattern = std::string(kTemporary) + kPrefix + "XXXXXX";
    path_ = ::mkdtemp(pattern.data()) != nullptr ? pattern : "";
  } while (!path_.empty() && !hold());
}

bool TemporaryFolder::hold() {
  folder_ = opened(path_);
  // Until now, another one could take it for abandoned.
  return isLocked(folder_) && opened(path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  if (!path_.empty()) fs::remove_all(path_, ignored);
}

PreviewFiles::PreviewFiles(platform::linux_::SecurityScopes& scopes, std::string scriptsFolder)
    : LinuxFileManager(scopes, std::move(scriptsFolder)) {}

bool PreviewFiles::isMade(const std::string& path) const {
  return std::any_of(made_.begin(), made_.end(),
                     [&path](const auto& made) { return platform::isPathInside(path, made.first); });
}

std::error_code PreviewFiles::createFolder(const std::string& path) {
  made_[path] = 0;
  return {};
}

std::error_code PreviewFiles::createFile(const std::string& path, std::string_view contents, unsigned) {
  made_[path] = contents.size();
  if (contents.starts_with(kDatabase)) madeDatabases_[path] = contents;
  return {};
}

std::error_code PreviewFiles::exchangeItems(const std::string& path, const std::string& other) {
  const auto database = madeDatabases_.find(other);
  if (database != madeDatabases_.end() && changeCopy(path, database->second)) return {};
  const std::string& fresh = isMade(other) ? other : path;
  std::uint64_t& size = replacements_[isMade(other) ? path : other];
  size = 0;
  for (const auto& [item, bytes] : made_) {
    if (platform::isPathInside(item, fresh)) size += bytes;
  }
  return {};
}

platform::Result<bool> PreviewFiles::exchangeUnlessChanged(const std::string& path, const std::string& other,
                                                           const platform::FileVersion&) {
  exchangeItems(path, other);
  return true;
}

platform::Result<bool> PreviewFiles::moveUnlessChanged(const std::string& path, const std::string& other,
                                                       const platform::FileVersion&) {
  made_[other] = 0;
  removeItem(path);
  return true;
}

std::error_code PreviewFiles::removeItem(const std::string& path) {
  if (isMade(path)) return {};  // after the exchange it holds the old content, which is counted as replaced
  if (removed_.insert(path).second) removals_.push_back(path);
  return {};
}

std::error_code PreviewFiles::removeOverwrittenItem(const std::string& path, platform::UnflushedFile) {
  return removeItem(path);
}

platform::Erasure PreviewFiles::eraseItem(const std::string& path, platform::Overwriting) {
  removeItem(path);
  return {};
}

std::error_code PreviewFiles::copyItem(const platform::FileURL&, const platform::FileURL&) {
  return {};
}

platform::Result<platform::FileURL> PreviewFiles::applicationScriptsDirectory(bool) {
  return LinuxFileManager::applicationScriptsDirectory(false);
}

bool PreviewFiles::copy(const std::string& database, const std::string& to) const {
  std::error_code error;
  if (folder_.path().empty() || !fs::copy_file(database, to, error)) return false;
  // The latest changes may still be in a journal beside it.
  for (const char* companion : {"-wal", "-journal"}) fs::copy_file(database + companion, to + companion, error);
  return true;
}

bool PreviewFiles::changeCopy(const std::string& database, const std::string& contents) const {
  const auto pinned = LinuxFileManager::pinnedFile(database);
  const auto copy = pinned ? copies_.find((*pinned)->path()) : copies_.end();
  if (copy == copies_.end()) return false;
  const std::string fresh = copy->second + ".after";
  std::ofstream(fresh, std::ios::binary) << contents;
  std::error_code error;
  for (const char* companion : {"-wal", "-journal"}) fs::remove(copy->second + companion, error);
  fs::rename(fresh, copy->second, error);
  return !error;
}

platform::Result<std::unique_ptr<platform::PinnedRegularFile>> PreviewFiles::pinnedFile(const std::string& path) const {
  auto pinned = LinuxFileManager::pinnedFile(path);
  if (!pinned) return pinned.error();
  std::string& known = copies_[(*pinned)->path()];
  if (known.empty()) {
    const std::string to = folder_.path() + "/" + std::to_string(copies_.size());
    if (!copy((*pinned)->path(), to)) {
      copies_.erase((*pinned)->path());
      return std::errc::io_error;
    }
    known = to;
  }
  return std::unique_ptr<platform::PinnedRegularFile>(std::make_unique<Copy>(known));
}

}  // namespace tidewell
