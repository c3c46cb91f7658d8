#include "Platform/Linux/files/LinuxSystem.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <systemd/sd-id128.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "Platform/Linux/host/UserDirectories.h"
#include "Platform/Linux/host/UserFolders.h"
#include "Platform/Path.h"

namespace platform::linux_ {

unsigned LinuxSystem::getuid() const {
  return ::getuid();
}

std::optional<std::string> LinuxSystem::homeDirectoryFromPasswordDatabase(unsigned uid) const {
  std::vector<char> buffer(1024);
  while (true) {
    passwd entry{};
    passwd* found = nullptr;
    const int result = ::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found);
    if (result == EINTR) continue;
    if (result == ERANGE && buffer.size() < (1U << 24)) {
      buffer.resize(buffer.size() * 2);
      continue;
    }
    return found != nullptr ? std::optional<std::string>(found->pw_dir) : std::nullopt;
  }
}

/// Not the machine's own identifier, which programs are asked not to give away, but one that is derived from it; where
/// there is none, the host's name.
std::string LinuxSystem::machineIdentifier() const {
  constexpr sd_id128_t kOfThisProgram = SD_ID128_ARRAY(5c, 0e, 9b, 1f, 2d, 73, 4a, 86, b4, 61, e8, 37, 9a, 0d, c2, f5);
  sd_id128_t machine{};
  if (sd_id128_get_machine_app_specific(kOfThisProgram, &machine) >= 0) {
    char text[SD_ID128_STRING_MAX];
    return sd_id128_to_string(machine, text);
  }
  utsname host{};
  return ::uname(&host) == 0 && host.nodename[0] != '\0' ? host.nodename : "unknown";
}

std::optional<std::string> LinuxSystem::configurationFolder() const {
  return movedConfigurationFolder();
}

std::optional<std::string> LinuxSystem::cachesFolder() const {
  return movedCachesFolder();
}

std::vector<std::string> LinuxSystem::userDirectories(const std::string& home) const {
  std::vector<std::string> settings = {appendingPathComponent(home, ".config")};
  if (auto moved = configurationFolder()) settings.push_back(std::move(*moved));
  return linux_::userDirectories(home, settings);
}

int LinuxSystem::openForReadingAndWriting(const std::string& path) {
  Result<FileDescriptor> file = scopes_.open(path, O_RDWR | O_NONBLOCK | O_NOCTTY);
  return file ? file->release() : -1;
}

std::optional<std::int64_t> LinuxSystem::fstatSize(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? std::optional<std::int64_t>(status.st_size) : std::nullopt;
}

std::int64_t LinuxSystem::write(int descriptor, const void* bytes, std::size_t count) {
  return ::write(descriptor, bytes, count);
}

int LinuxSystem::close(int descriptor) {
  return ::close(descriptor);
}

void LinuxSystem::srandomdev() {
  unsigned seed = 0;
  // Without entropy (a kernel that has just started) the clock is better than the same bytes each time.
  if (::getrandom(&seed, sizeof seed, GRND_NONBLOCK) != sizeof seed) seed = static_cast<unsigned>(std::time(nullptr));
  ::srandom(seed);
}

std::int64_t LinuxSystem::random() {
  return ::random();
}

}  // namespace platform::linux_
