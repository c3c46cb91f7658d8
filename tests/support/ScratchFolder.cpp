#include "tests/support/ScratchFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace testing_support {
namespace {

std::string contentOf(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

}  // namespace

ScratchFolder::ScratchFolder() {
  const char* place = std::getenv("TIDEWELL_SCRATCH");
  std::string pattern = std::string(place != nullptr ? place : "/tmp") + "/tidewell-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no scratch folder");
  path_ = pattern;
}

ScratchFolder::~ScratchFolder() {
  std::error_code error;
  fs::remove_all(path_, error);
  if (!error) return;
  // rm removes trees that are too deep for the standard library.
  const std::string command = "chmod -R u+rwx '" + path_ + "' 2>/dev/null; rm -rf '" + path_ + "'";
  [[maybe_unused]] const int status = std::system(command.c_str());
}

std::string ScratchFolder::file(const std::string& below, const std::string& content) const {
  fs::create_directories(fs::path(path(below)).parent_path());
  std::ofstream(path(below), std::ios::binary) << content;
  return path(below);
}

std::string ScratchFolder::folder(const std::string& below) const {
  fs::create_directories(path(below));
  return path(below);
}

void ScratchFolder::link(const std::string& below, const std::string& target) const {
  fs::create_directories(fs::path(path(below)).parent_path());
  fs::create_symlink(target, path(below));
}

bool ScratchFolder::exists(const std::string& below) const {
  return fs::exists(fs::symlink_status(path(below)));
}

std::string ScratchFolder::content(const std::string& below) const {
  return contentOf(path(below));
}

std::vector<std::string> ScratchFolder::tree(const std::string& below) const {
  const fs::path root = below.empty() ? fs::path(path_) : fs::path(path(below));
  std::vector<std::string> lines;
  if (!fs::exists(root)) return lines;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const std::string name = fs::relative(entry.path(), root).string();
    if (entry.is_symlink()) {
      lines.push_back(name + " -> " + fs::read_symlink(entry.path()).string());
    } else if (entry.is_directory()) {
      lines.push_back(name + "/");
    } else {
      lines.push_back(name + ": " + contentOf(entry.path()));
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace testing_support
