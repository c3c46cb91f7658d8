#include "tests/support/TestPlatform.h"

#include <fcntl.h>

#include <algorithm>

#include "Platform/Path.h"
#include "Worker/Identity.h"
#include "Worker/sandbox/AppSandboxFileAccessPersist.h"

namespace testing_support {

using platform::FileURL;

platform::Result<std::string> JournalingFileManager::stringWithContentsOfFile(const std::string& path) const {
  journal_.add("read " + path);
  return LinuxFileManager::stringWithContentsOfFile(path);
}

platform::Result<std::vector<std::string>> JournalingFileManager::contentsOfDirectory(const std::string& path) const {
  journal_.add("list " + path);
  return LinuxFileManager::contentsOfDirectory(path);
}

platform::Erasure JournalingFileManager::removeItem(const std::string& path) {
  journal_.add("remove " + path);
  return LinuxFileManager::removeItem(path);
}

platform::Erasure JournalingFileManager::removeOverwrittenItem(const std::string& path,
                                                               platform::UnflushedFile unflushed) {
  journal_.add((unflushed == platform::UnflushedFile::stays ? "remove flushed " : "remove overwritten ") + path);
  return LinuxFileManager::removeOverwrittenItem(path, unflushed);
}

platform::Result<std::unique_ptr<platform::ReadableFile>> JournalingFileManager::readableFile(
    const std::string& path) const {
  journal_.add("pieces of " + path);
  return LinuxFileManager::readableFile(path);
}

platform::Erasure JournalingFileManager::eraseItem(const std::string& path, platform::Overwriting overwriting) {
  noteErasureOf(path, overwriting);
  const auto limit = limitOf(overwriting);
  return LinuxFileManager::eraseItem(path, overwriting);
}

platform::Erasure JournalingFileManager::eraseItems(const std::string& folder, const std::vector<std::string>& names,
                                                    platform::Overwriting overwriting) {
  for (const std::string& name : names) noteErasureOf(platform::appendingPathComponent(folder, name), overwriting);
  const auto limit = limitOf(overwriting);
  return LinuxFileManager::eraseItems(folder, names, overwriting);
}

void JournalingFileManager::noteErasureOf(const std::string& path, platform::Overwriting overwriting) {
  journal_.add((overwriting == platform::Overwriting::kThreePasses ? "remove overwriting " : "remove ") + path);
}

std::unique_ptr<FileSizeLimit> JournalingFileManager::limitOf(platform::Overwriting overwriting) const {
  const bool fails = overwritingFails && overwriting == platform::Overwriting::kThreePasses;
  return fails ? std::make_unique<FileSizeLimit>(0) : nullptr;
}

std::error_code JournalingFileManager::createFolder(const std::string& path) {
  journal_.add("make folder " + path);
  return LinuxFileManager::createFolder(path);
}

std::error_code JournalingFileManager::createFile(const std::string& path, std::string_view contents,
                                                  unsigned permissions) {
  journal_.add("make file " + path);
  return LinuxFileManager::createFile(path, contents, permissions);
}

std::error_code JournalingFileManager::exchangeItems(const std::string& path, const std::string& other) {
  journal_.add("exchange " + path);
  return LinuxFileManager::exchangeItems(path, other);
}

platform::Result<bool> JournalingFileManager::exchangeUnlessChanged(const std::string& path, const std::string& other,
                                                                    const platform::FileVersion& read) {
  journal_.add("exchange " + path);
  return LinuxFileManager::exchangeUnlessChanged(path, other, read);
}

platform::Result<bool> JournalingFileManager::moveUnlessChanged(const std::string& path, const std::string& other,
                                                                const platform::FileVersion& read) {
  journal_.add("move " + path);
  return LinuxFileManager::moveUnlessChanged(path, other, read);
}

platform::Result<std::unique_ptr<platform::FileLock>> JournalingFileManager::lockFile(const std::string& path) {
  journal_.add("lock " + path);
  return LinuxFileManager::lockFile(path);
}

int TestSystem::openForReadingAndWriting(const std::string& path) {
  journal_.add("open " + path);
  return LinuxSystem::openForReadingAndWriting(path);
}

std::optional<std::int64_t> TestSystem::fstatSize(int descriptor) {
  if (statFails) return std::nullopt;
  return LinuxSystem::fstatSize(descriptor);
}

std::int64_t TestSystem::write(int descriptor, const void* bytes, std::size_t count) {
  if (writesToFail > 0) {
    --writesToFail;
    journal_.add("failed write");
    return -1;
  }
  journal_.add("write " + std::to_string(count));
  return LinuxSystem::write(descriptor, bytes, std::min(count, longestWrite));
}

int TestSystem::close(int descriptor) {
  journal_.add("close");
  const int result = LinuxSystem::close(descriptor);
  return closeFails ? -1 : result;
}

void TestSystem::srandomdev() {
  journal_.add("seed");
  LinuxSystem::srandomdev();
}

std::int64_t TestSystem::random() {
  return randomNumbers ? randomNumbers() : LinuxSystem::random();
}

namespace {

/// Opened before a test program hides the folder that it lies in.
const platform::linux_::FileDescriptor kCellProgram(::open(TIDEWELL_CELL_PROGRAM, O_PATH | O_CLOEXEC));

platform::linux_::FileDescriptor cellProgram() {
  return platform::linux_::FileDescriptor(::fcntl(kCellProgram.get(), F_DUPFD_CLOEXEC, 0));
}

}  // namespace

TestPlatform::TestPlatform()
    : fileManager(scopes, home.path(".local/share/scripts"), journal),
      fileManagerOnOneMount(scopes, home.path(".local/share/scripts"), journal, platform::linux_::Mounts::kSame),
      openPanel(dispatch, journal, [this](const FileURL& url) { scopes.openForProcess(url); }),
      cells(cellProgram(), log),
      platform_{bundle, dispatch,     fileManager,        fileManagerOnOneMount, log,       openPanel, scopes,
                system, userDefaults, notificationCenter, userScripts,           workspace, cells,     confinement} {
  system.homeFolder = home.path();
  home.folder("Library");  // so that the home has that layout
  platform::Platform::install(&platform_);
}

TestPlatform::~TestPlatform() {
  dispatch.clear();  // waiting tasks may hold the worker, whose destructor uses the platform
  platform::Platform::install(nullptr);
}

platform::Value::Dictionary& TestPlatform::shared() {
  return userDefaults.domain(tidewell::kSharedSuite);
}

void TestPlatform::grant(const std::string& folder) {
  // From a scope table of its own: the grant is stored, but not open in the table under test.
  platform::linux_::SecurityScopes earlierSession;
  const FileURL url(folder, true);
  earlierSession.openForProcess(url);
  if (const auto data = earlierSession.bookmarkData(url)) {
    tidewell::AppSandboxFileAccessPersist::setBookmarkData_forURL(*data, url);
  }
  journal.clear();
}

std::vector<std::string> TestPlatform::removals() const {
  std::vector<std::string> paths;
  for (const std::string& path : journal.entriesAfter("remove ")) {
    paths.push_back(path.starts_with(home.path() + "/") ? path.substr(home.path().size() + 1) : path);
  }
  return paths;
}

}  // namespace testing_support
