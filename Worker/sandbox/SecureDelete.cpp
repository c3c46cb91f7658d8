#include "Worker/sandbox/SecureDelete.h"

#include <algorithm>
#include <array>
#include <optional>

#include "Platform/Platform.h"

namespace tidewell {
namespace {

using platform::FileURL;
using platform::Platform;

constexpr std::size_t kPatternSize = 1024;  // bytes
using Pattern = std::array<std::uint8_t, kPatternSize>;

bool fillPattern(std::int32_t phase, Pattern& pattern) {
  platform::System& system = Platform::current().system;
  switch (phase) {
    case 1:
      pattern.fill(0x55);
      return true;
    case 2:
      pattern.fill(0xAA);
      return true;
    case 3:
      system.srandomdev();
      // Modulo 255, so 255 never occurs.
      for (std::uint8_t& byte : pattern) byte = static_cast<std::uint8_t>(system.random() % 255);
      return true;
    default:
      return false;
  }
}

bool wipeInAllPhases(const std::string& path) {
  return SecureDelete::wipe_phase(path, 1) && SecureDelete::wipe_phase(path, 2) && SecureDelete::wipe_phase(path, 3);
}

std::string expandingTilde(const std::string& path) {
  if (!path.starts_with('~')) return path;
  const platform::System& system = Platform::current().system;
  return system.homeDirectoryFromPasswordDatabase(system.getuid()).value_or("~") + path.substr(1);
}

}  // namespace

bool SecureDelete::wipe_phase(const std::string& path, std::int32_t phase) {
  platform::System& system = Platform::current().system;
  const int descriptor = system.openForReadingAndWriting(path);
  if (descriptor < 0) return false;
  // The descriptor stays open on the two failures that follow.
  const std::optional<std::int64_t> size = system.fstatSize(descriptor);
  if (!size) return false;
  Pattern pattern;
  if (!fillPattern(phase, pattern)) return false;

  // 32-bit arithmetic throughout: of a file of 4 GiB or more only a part is covered, and a failed write (-1) counts as
  // one byte more to go, so the pass ends only when everything is written.
  auto remaining = static_cast<std::uint32_t>(*size);
  while (remaining != 0) {
    const std::size_t chunk = std::min<std::size_t>(remaining, kPatternSize);
    remaining -= static_cast<std::uint32_t>(system.write(descriptor, pattern.data(), chunk));
  }
  return system.close(descriptor) == 0;
}

bool SecureDelete::wipeContentsofDir(const std::string& path) {
  return !Platform::current().fileManager.fileExists(path) || wipeInAllPhases(path);
}

bool SecureDelete::wipe(const std::string& path) {
  const platform::FileManager& fileManager = Platform::current().fileManager;
  if (!fileManager.fileExists(path)) return true;
  bool isDirectory = false;
  if (!fileManager.fileExists(path, isDirectory) || !isDirectory) return wipeInAllPhases(path);

  const auto stopAtFirstError = [](const FileURL&, std::error_code) { return false; };
  const auto enumerator = fileManager.enumeratorAtURL(FileURL(path, true), stopAtFirstError);
  while (const std::optional<FileURL> item = enumerator->nextObject()) {
    // The test is deliberately on the folder, not on the item: as long as it is a folder, nothing in it is overwritten.
    bool folderIsDirectory = false;
    if (fileManager.fileExists(path, folderIsDirectory) && !folderIsDirectory &&
        !wipeContentsofDir(expandingTilde(item->path()))) {
      return false;
    }
  }
  return true;
}

}  // namespace tidewell
