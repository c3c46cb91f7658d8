// The tests of a program that deletes run where a mistake of it can do no harm: when they begin, the test program gets
// mounts of its own, in which the root file system can only be read and "/tmp" is an empty one in memory. Nothing of it
// is seen by other processes, and it ends with the program.
//
// Where the system allows no such mounts (to an ordinary user), the tests run without them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

namespace {

class Jail : public ::testing::Environment {
 public:
  void SetUp() override {
    if (::unshare(CLONE_NEWNS) != 0) return;
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return;
    mount_attr readOnly{};
    readOnly.attr_set = MOUNT_ATTR_RDONLY;
    ASSERT_EQ(::mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777"), 0);
    ASSERT_EQ(::mount_setattr(AT_FDCWD, "/", 0, &readOnly, sizeof readOnly), 0);
  }
};

[[maybe_unused]] const ::testing::Environment* const jail = ::testing::AddGlobalTestEnvironment(new Jail);

}  // namespace
