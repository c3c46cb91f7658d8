#pragma once

#include <filesystem>
#include <string>

namespace tidewell {

/// The path of a program in the folder of the running one.
inline std::string programBeside(const char* name) {
  std::error_code error;
  return (std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / name).string();
}

}  // namespace tidewell
