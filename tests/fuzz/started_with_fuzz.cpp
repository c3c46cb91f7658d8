// A browser's process with any command line: it names whole paths without dots, and no more of them are looked up than
// the command line has bytes.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "Platform/Linux/processes/ProcessTable.h"
#include "Platform/Path.h"
#include "Worker/browsers/Browsers.h"
#include "Worker/homes/StartedWith.h"

namespace {

bool isWholePath(const std::string& path) {
  const std::vector<std::string> components = platform::pathComponents(path);
  return components.size() > 1 && components.front() == "/" &&
         std::all_of(components.begin() + 1, components.end(), platform::isPlainName);
}

void nameFolders(const std::vector<std::string>& arguments, const tidewell::Browser& browser, std::size_t mostLooks,
                 const tidewell::HomeEyes::Test& isFolder) {
  std::size_t looks = 0;
  const auto folders = tidewell::foldersNamedIn(arguments, browser, [&](const std::string& path) {
    if (!path.starts_with('/') || ++looks > mostLooks) std::abort();
    return isFolder(path);
  });
  if (!std::all_of(folders.begin(), folders.end(), isWholePath)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string commandLine(reinterpret_cast<const char*>(bytes), size);
  const auto arguments = platform::linux_::argumentsFromCommandLine(commandLine);
  std::size_t length = arguments.size();  // of them all, with what parts them
  for (const std::string& argument : arguments) length += argument.size();
  if (length > size + 1) std::abort();
  for (const tidewell::Browser& browser : tidewell::browsers()) {
    nameFolders(arguments, browser, size, [](const std::string&) { return true; });
    nameFolders(arguments, browser, size, [](const std::string& path) { return path.size() % 2 == 0; });
  }
  return 0;
}
