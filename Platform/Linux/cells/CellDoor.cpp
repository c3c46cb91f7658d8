#include "Platform/Linux/cells/CellDoor.h"

#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>
#include <initializer_list>
#include <memory>

#include "Platform/Linux/host/Landlock.h"
#include "Platform/Linux/host/Sanitizers.h"

namespace platform::linux_ {
namespace {

// The largest documents, of 256 MB, take up to five times as much while parts are taken out of them.
constexpr rlim_t kMostMemory = rlim_t{2} << 30;  // bytes
constexpr rlim_t kMostSeconds = 30;              // of a processor
constexpr rlim_t kMostOfSanitizer = 8;           // descriptors

void limit(__rlimit_resource resource, rlim_t most) {
  const rlimit bounds{most, most};
  ::setrlimit(resource, &bounds);  // lowering is always allowed
}

void limitAll() {
  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_FSIZE, 0);
  limit(RLIMIT_NOFILE, kIsSanitized ? kMostOfSanitizer : kCellDescriptor + 1);
  limit(RLIMIT_NPROC, 0);
  if (kIsSanitized) return;  // their shadow memory exceeds any limit, and they take their time
  limit(RLIMIT_AS, kMostMemory);
  limit(RLIMIT_CPU, kMostSeconds);
}

bool landlock() {
  const long version = landlockVersion();
  if (version < 1) return false;
  const LandlockRights rights = LandlockRights::ofVersion(version);
  const long rules = ::syscall(SYS_landlock_create_ruleset, &rights, rights.size(version), 0);
  if (rules < 0) return false;
  const bool isDone = ::syscall(SYS_landlock_restrict_self, rules, 0) == 0;
  ::close(static_cast<int>(rules));
  return isDone;
}

struct Release {
  void operator()(scmp_filter_ctx filter) const { ::seccomp_release(filter); }
};

/// Conditions on an argument of a call, of which the kernel compares all 64 bits but callers set 32: these are what
/// counts. By hand, since the library's macros are C.
scmp_arg_cmp is(unsigned argument, std::uint32_t value) {
  return {argument, SCMP_CMP_MASKED_EQ, UINT32_MAX, value};
}
scmp_arg_cmp has(unsigned argument, std::uint32_t bits) {
  return {argument, SCMP_CMP_MASKED_EQ, bits, bits};
}
scmp_arg_cmp lacks(unsigned argument, std::uint32_t bits) {
  return {argument, SCMP_CMP_MASKED_EQ, bits, 0};
}

/// The list. Files can't be opened, descriptors can't be made, and no memory can be made executable. A call that is not
/// in the list ends the process.
bool filter() {
  const std::unique_ptr<void, Release> rules(::seccomp_init(SCMP_ACT_KILL_PROCESS));
  if (!rules) return false;
  bool isFine = ::seccomp_attr_set(rules.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS) == 0;
  const auto allow = [&](int call, std::initializer_list<scmp_arg_cmp> conditions) {
    isFine = isFine && ::seccomp_rule_add_array(rules.get(), SCMP_ACT_ALLOW, call,
                                                static_cast<unsigned>(conditions.size()), conditions.begin()) == 0;
  };
  allow(SCMP_SYS(read), {is(0, kCellDescriptor)});
  allow(SCMP_SYS(write), {is(0, kCellDescriptor)});
  if (kIsSanitized) {
    // They tell on standard error what they have found, and find out by a pipe whether an object's memory can be read.
    for (const int call : {SCMP_SYS(write), SCMP_SYS(pipe2), SCMP_SYS(close)}) allow(call, {});
  }
  allow(SCMP_SYS(mmap), {lacks(2, PROT_EXEC), has(3, MAP_ANONYMOUS)});
  allow(SCMP_SYS(mprotect), {lacks(2, PROT_EXEC)});
  for (const int call : {SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise), SCMP_SYS(brk), SCMP_SYS(futex),
                         SCMP_SYS(rt_sigreturn), SCMP_SYS(exit), SCMP_SYS(exit_group)}) {
    allow(call, {});
  }
  return isFine && ::seccomp_load(rules.get()) == 0;
}

}  // namespace

CellDoor CellDoor::close() {
  ::close_range(kCellDescriptor + 1, STDERR_FILENO - 1, 0);
  ::close_range(kIsSanitized ? STDERR_FILENO + 1 : STDERR_FILENO, ~0U, 0);
  ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  CellDoor door;
  door.isLandlocked = landlock();
  limitAll();
  door.isFiltered = filter();  // the last: it takes the means for all of the above
  return door;
}

}  // namespace platform::linux_
