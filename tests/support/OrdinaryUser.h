// Makes file permissions count while it lives, where the tests run as root.
#pragma once

#include <unistd.h>

#include <string>

namespace testing_support {

class OrdinaryUser {
 public:
  /// Gives the folder (not what is in it) to the ordinary user.
  explicit OrdinaryUser(const std::string& folder) {
    if (!wasRoot_) return;
    [[maybe_unused]] int result = ::chown(folder.c_str(), kNobody, kNobody);
    result = ::seteuid(kNobody);
  }
  ~OrdinaryUser() { [[maybe_unused]] const int result = wasRoot_ ? ::seteuid(0) : 0; }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  const bool wasRoot_ = ::geteuid() == 0;
};

}  // namespace testing_support
