// The kernel's rules on files that a process gives itself (Landlock), as far as more than one place has use for them.
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace platform::linux_ {

/// The version that the kernel knows; less than 1 when it knows none.
inline long landlockVersion() {
  constexpr unsigned kAskVersion = 1;
  return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, kAskVersion);
}

/// All rights that a version of Landlock knows, in the form in which the kernel takes them. The system's header may be
/// older than the kernel.
struct LandlockRights {
  std::uint64_t files = 0;
  std::uint64_t network = 0;
  std::uint64_t scopes = 0;

  static LandlockRights ofVersion(long version) {
    constexpr std::array<unsigned, 5> kFileRights{13, 14, 15, 15, 16};  // of the versions 1 to 5
    const auto known = static_cast<std::size_t>(version) - 1;
    LandlockRights rights;
    rights.files = (std::uint64_t{1} << kFileRights[known < kFileRights.size() ? known : kFileRights.size() - 1]) - 1;
    if (version >= 4) rights.network = 3;  // binding and connecting
    if (version >= 6) rights.scopes = 3;   // abstract sockets and signals
    return rights;
  }

  /// The kernel takes the part that it knows.
  std::size_t size(long version) const {
    if (version >= 6) return sizeof *this;
    return version >= 4 ? offsetof(LandlockRights, scopes) : offsetof(LandlockRights, network);
  }
};

}  // namespace platform::linux_
