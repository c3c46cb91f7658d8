#include "MainApplication/preview/PreviewFiles.h"

#include <algorithm>

#include "Platform/Path.h"
#include "Worker/Identity.h"

namespace tidewell {
namespace {

constexpr std::string_view kDatabase = "SQLite format 3";  // how a database file begins
constexpr const char* kJournals[] = {"-wal", "-journal"};

class Copy : public platform::PinnedRegularFile {
 public:
  explicit Copy(std::string path) : path_(std::move(path)) {}
  const std::string& path() const override { return path_; }
  bool isInPlace() const override { return true; }

 private:
  const std::string path_;
};

class MadeFile : public platform::ReadableFile {
 public:
  explicit MadeFile(std::shared_ptr<const std::string> contents) : contents_(std::move(contents)) {}
  platform::Result<platform::FileVersion> version() const override { return platform::FileVersion(); }
  std::uint64_t size() const override { return contents_->size(); }
  platform::Result<std::string> read(std::uint64_t offset, std::size_t count) const override {
    return offset < contents_->size() ? contents_->substr(offset, count) : std::string();
  }

 private:
  const std::shared_ptr<const std::string> contents_;
};

}  // namespace

PreviewFiles::PreviewFiles(platform::linux_::SecurityScopes& scopes, std::string scriptsFolder)
    : LinuxFileManager(scopes, std::move(scriptsFolder)) {}

bool PreviewFiles::isMade(const std::string& path) const {
  return std::any_of(made_.begin(), made_.end(),
                     [&path](const auto& made) { return platform::isPathInside(path, made.first); });
}

std::map<std::string, std::uint64_t> PreviewFiles::refilledFolders() const {
  std::map<std::string, std::uint64_t> folders;
  for (const auto& [path, bytes] : made_) {
    const std::string folder = platform::deletingLastPathComponent(path);
    if (!path.ends_with(kAsideSuffix) && !isMade(folder)) folders[folder] += bytes;
  }
  return folders;
}

platform::Result<std::unique_ptr<platform::ReadableFile>> PreviewFiles::readableFile(const std::string& path) const {
  const auto made = contents_.find(path);
  if (made == contents_.end()) return LinuxFileManager::readableFile(path);
  return std::unique_ptr<platform::ReadableFile>(std::make_unique<MadeFile>(made->second));
}

std::error_code PreviewFiles::createFolder(const std::string& path) {
  made_[path] = 0;
  return {};
}

std::error_code PreviewFiles::createFile(const std::string& path, std::string_view contents, unsigned) {
  made_[path] = contents.size();
  contents_[path] = std::make_shared<const std::string>(contents);
  return {};
}

std::error_code PreviewFiles::exchangeItems(const std::string& path, const std::string& other) {
  const auto made = contents_.extract(other);
  const bool isDatabase = made && made.mapped()->starts_with(kDatabase);
  if (isDatabase && changeCopy(path, *made.mapped())) return {};
  const std::string& fresh = isMade(other) ? other : path;
  if (!fresh.ends_with(kAsideSuffix)) return {};  // a file of a folder that is refilled
  std::uint64_t& size = replacements_[isMade(other) ? path : other];
  size = 0;
  for (const auto& [item, bytes] : made_) {
    if (!platform::isPathInside(item, fresh)) continue;
    size += bytes;
    contents_.erase(item);
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

platform::Erasure PreviewFiles::removeItem(const std::string& path) {
  if (isMade(path)) return {};  // after the exchange it holds the old content, which is counted as replaced
  if (removed_.insert(path).second) removals_.push_back(path);
  return {};
}

platform::Erasure PreviewFiles::removeOverwrittenItem(const std::string& path, platform::UnflushedFile) {
  return removeItem(path);
}

platform::Erasure PreviewFiles::eraseItem(const std::string& path, platform::Overwriting) {
  removeItem(path);
  return {};
}

platform::Erasure PreviewFiles::eraseItems(const std::string& folder, const std::vector<std::string>& names,
                                           platform::Overwriting) {
  for (const std::string& name : names) removeItem(platform::appendingPathComponent(folder, name));
  return {};
}

std::error_code PreviewFiles::copyItem(const platform::FileURL&, const platform::FileURL&) {
  return {};
}

platform::Result<platform::FileURL> PreviewFiles::applicationScriptsDirectory(bool) {
  return LinuxFileManager::applicationScriptsDirectory(false);
}

bool PreviewFiles::copy(const std::string& database, const std::string& to) {
  if (!AnonymousFiles::copy(database, to)) return false;
  for (const char* companion : kJournals) AnonymousFiles::copy(database + companion, to + companion);
  return true;
}

bool PreviewFiles::changeCopy(const std::string& database, const std::string& contents) const {
  const auto pinned = LinuxFileManager::pinnedFile(database);
  const auto copy = pinned ? copies_.find((*pinned)->path()) : copies_.end();
  if (copy == copies_.end()) return false;
  for (const char* companion : kJournals) AnonymousFiles::remove(copy->second + companion);
  return AnonymousFiles::write(copy->second, contents);
}

platform::Result<std::unique_ptr<platform::PinnedRegularFile>> PreviewFiles::pinnedFile(const std::string& path) const {
  auto pinned = LinuxFileManager::pinnedFile(path);
  if (!pinned) return pinned.error();
  std::string& known = copies_[(*pinned)->path()];
  if (known.empty()) {
    const std::string to = anonymous_.path(std::to_string(copies_.size()));
    if (!copy((*pinned)->path(), to)) {
      copies_.erase((*pinned)->path());
      return std::errc::io_error;
    }
    known = to;
  }
  return std::unique_ptr<platform::PinnedRegularFile>(std::make_unique<Copy>(known));
}

}  // namespace tidewell
