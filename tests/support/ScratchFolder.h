// A folder of its own for one test, removed with all that is in it.
#pragma once

#include <string>
#include <vector>

namespace testing_support {

class ScratchFolder {
 public:
  /// "/tmp/tidewell-XXXXXX": three components, like a home folder. Elsewhere than in "/tmp" where the environment has a
  /// TIDEWELL_SCRATCH.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string path(const std::string& below) const { return path_ + "/" + below; }

  /// Writes a file and makes the folders above it; returns its path.
  std::string file(const std::string& below, const std::string& content = "content") const;
  std::string folder(const std::string& below) const;
  void link(const std::string& below, const std::string& target) const;

  bool exists(const std::string& below) const;  // links are not followed
  std::string content(const std::string& below) const;

  /// Every path below the folder with its kind and content, sorted: equal trees are equal.
  std::vector<std::string> tree(const std::string& below = "") const;

 private:
  std::string path_;
};

}  // namespace testing_support
