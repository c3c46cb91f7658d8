// How a program is started: the settings of posix_spawn().
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>

namespace platform::linux_ {

class SpawnSettings {
 public:
  /// No signal is blocked, and those of `usual` are in their usual state. `flags` are further ones: POSIX_SPAWN_….
  explicit SpawnSettings(const sigset_t& usual, short flags = 0) {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawnattr_init(&attributes_);
    sigset_t none;
    ::sigemptyset(&none);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    ::posix_spawnattr_setsigdefault(&attributes_, &usual);
    const int all = flags | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    ::posix_spawnattr_setflags(&attributes_, static_cast<short>(all));
  }
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  /// The program gets that file, for reading and writing, as the descriptor.
  void open(int descriptor, const char* path) {
    ::posix_spawn_file_actions_addopen(&actions_, descriptor, path, O_RDWR, 0);
  }
  /// The program gets our descriptor under another number.
  void pass(int own, int descriptor) { ::posix_spawn_file_actions_adddup2(&actions_, own, descriptor); }

  const posix_spawn_file_actions_t* actions() const { return &actions_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

}  // namespace platform::linux_
