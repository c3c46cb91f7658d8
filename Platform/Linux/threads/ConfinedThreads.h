// Confined work has a thread of its own each time: what the kernel takes from a thread (Landlock), it never gives back.
#pragma once

#include <string>
#include <vector>

#include "Platform/Confinement.h"

namespace platform::linux_ {

class ConfinedThreads : public Confinement {
 public:
  /// Takes the folders in which the platform keeps what is its own. They may come later than this object.
  explicit ConfinedThreads(std::vector<std::string> own) : own_(std::move(own)) {}

  void run(const std::vector<std::string>& folders, const Task& task) override;
  void outside(const Task& task) override;

 private:
  const std::vector<std::string> own_;
};

}  // namespace platform::linux_
