// The platform of the tests: deterministic where the real one is not, with real files under real grants.
//
// It has a virtual clock and queues that run when told; a panel, a notification centre and settings in memory; and one
// journal of the calls to it. The files are in a scratch home folder.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Linux/cells/LinuxCells.h"
#include "Platform/Linux/files/LinuxFileManager.h"
#include "Platform/Linux/files/LinuxSystem.h"
#include "Platform/Linux/files/SecurityScopes.h"
#include "Platform/Linux/threads/ConfinedThreads.h"
#include "tests/support/FakeDispatch.h"
#include "tests/support/Fakes.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/ScratchFolder.h"

namespace testing_support {

/// Journal: "remove PATH", "remove overwritten PATH", "remove flushed PATH", "remove overwriting PATH", "read PATH",
/// "list PATH"; "pieces of PATH", "make folder PATH", "make file PATH", "exchange PATH", "move PATH", "lock PATH".
class JournalingFileManager : public platform::linux_::LinuxFileManager {
 public:
  JournalingFileManager(platform::linux_::SecurityScopes& scopes, std::string scriptsFolder, Journal& journal,
                        platform::linux_::Mounts mounts = platform::linux_::Mounts::kAny)
      : LinuxFileManager(scopes, std::move(scriptsFolder), mounts), journal_(journal) {}

  bool overwritingFails = false;

  platform::Result<std::string> stringWithContentsOfFile(const std::string& path) const override;
  platform::Result<std::vector<std::string>> contentsOfDirectory(const std::string& path) const override;
  platform::Result<std::unique_ptr<platform::ReadableFile>> readableFile(const std::string& path) const override;
  platform::Erasure removeItem(const std::string& path) override;
  platform::Erasure removeOverwrittenItem(const std::string& path, platform::UnflushedFile unflushed) override;
  platform::Erasure eraseItem(const std::string& path, platform::Overwriting overwriting) override;
  platform::Erasure eraseItems(const std::string& folder, const std::vector<std::string>& names,
                               platform::Overwriting overwriting) override;
  std::error_code createFolder(const std::string& path) override;
  std::error_code createFile(const std::string& path, std::string_view contents, unsigned permissions) override;
  std::error_code exchangeItems(const std::string& path, const std::string& other) override;
  platform::Result<bool> exchangeUnlessChanged(const std::string& path, const std::string& other,
                                               const platform::FileVersion& read) override;
  platform::Result<bool> moveUnlessChanged(const std::string& path, const std::string& other,
                                           const platform::FileVersion& read) override;
  platform::Result<std::unique_ptr<platform::FileLock>> lockFile(const std::string& path) override;

 private:
  void noteErasureOf(const std::string& path, platform::Overwriting overwriting);
  std::unique_ptr<FileSizeLimit> limitOf(platform::Overwriting overwriting) const;

  Journal& journal_;
};

/// The real calls, with a home folder that the test sets and failures on demand. Journal: "open PATH", "write COUNT",
/// "failed write", "close", "seed".
class TestSystem : public platform::linux_::LinuxSystem {
 public:
  TestSystem(platform::linux_::SecurityScopes& scopes, Journal& journal) : LinuxSystem(scopes), journal_(journal) {}

  static constexpr unsigned kUser = 4711;
  std::optional<std::string> homeFolder;  // in the password database, for kUser only
  std::string machine = "this-machine";
  std::optional<std::string> movedConfiguration;
  std::optional<std::string> movedCaches;
  bool statFails = false;
  unsigned writesToFail = 0;
  std::size_t longestWrite = SIZE_MAX;  // in bytes, of one call
  bool closeFails = false;
  std::function<std::int64_t()> randomNumbers;

  unsigned getuid() const override { return kUser; }
  std::optional<std::string> homeDirectoryFromPasswordDatabase(unsigned uid) const override {
    return uid == kUser ? homeFolder : std::nullopt;
  }
  std::string machineIdentifier() const override { return machine; }
  std::optional<std::string> configurationFolder() const override { return movedConfiguration; }
  std::optional<std::string> cachesFolder() const override { return movedCaches; }
  int openForReadingAndWriting(const std::string& path) override;
  std::optional<std::int64_t> fstatSize(int descriptor) override;
  std::int64_t write(int descriptor, const void* bytes, std::size_t count) override;
  int close(int descriptor) override;
  void srandomdev() override;
  std::int64_t random() override;

 private:
  Journal& journal_;
};

class TestPlatform {
 public:
  TestPlatform();
  ~TestPlatform();

  /// The shared settings.
  platform::Value::Dictionary& shared();
  /// The worker's own.
  platform::Value::Dictionary& own() { return userDefaults.domain(""); }

  /// Stores a grant, as if the user had allowed the folder in an earlier session.
  void grant(const std::string& folder);

  /// The paths that were removed, in order, relative to the home folder.
  std::vector<std::string> removals() const;

  ScratchFolder home;
  ScratchFolder elsewhere;  // never granted
  Journal journal;
  FakeBundle bundle;
  FakeLog log;
  FakeDispatch dispatch{journal};
  platform::linux_::SecurityScopes scopes;
  JournalingFileManager fileManager;
  JournalingFileManager fileManagerOnOneMount;
  TestSystem system{scopes, journal};
  FakeOpenPanel openPanel;
  MemoryUserDefaults userDefaults{journal};
  FakeNotificationCenter notificationCenter{journal};
  FakeUserScripts userScripts{journal};
  FakeWorkspace workspace;
  platform::linux_::LinuxCells cells;
  platform::linux_::ConfinedThreads confinement{{}};

 private:
  platform::Platform platform_;
};

}  // namespace testing_support
