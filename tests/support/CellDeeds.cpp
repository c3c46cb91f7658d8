#include "tests/support/CellDeeds.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "Platform/Linux/cells/CellDoor.h"

namespace testing_support {
namespace {

using platform::linux_::kCellDescriptor;

constexpr std::size_t kMegabyte = std::size_t{1} << 20;

std::string told(long result) {
  return result < 0 ? std::strerror(errno) : "done";
}

std::string makeFile(const std::string& path) {
  return told(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
}

std::string connectTo(const std::string& port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int connection = ::socket(AF_INET, SOCK_STREAM, 0);
  return told(::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

std::string writeToEachDescriptor(const std::string& text) {
  for (int descriptor = STDERR_FILENO + 1; descriptor < 1024; ++descriptor) {  // a sanitizer keeps standard error
    if (::write(descriptor, text.data(), text.size()) >= 0) return "done";
  }
  return ::write(STDOUT_FILENO, text.data(), text.size()) >= 0 ? "done" : "none";
}

std::string takeMemory(const std::string&) {
  std::size_t megabytes = 0;
  while (::mmap(nullptr, kMegabyte, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED) {
    ++megabytes;
  }
  return std::to_string(megabytes);
}

std::string forkAndMake(const std::string& path) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(makeFile(path) == "done" ? 0 : 1);
  return told(child);
}

std::string execShell(const std::string& command) {
  return told(::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr));
}

std::string announceMuch(const std::string&) {
  const std::uint64_t length = ~std::uint64_t{0};
  return told(::write(kCellDescriptor, &length, sizeof length));
}

std::string loop(const std::string&) {
  for (volatile bool goesOn = true; goesOn;) {
  }
  return "done";
}

std::string mapCode(const std::string&) {
  const void* code = ::mmap(nullptr, kMegabyte, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return told(code == MAP_FAILED ? -1 : 0);
}

using Deeds = std::map<std::string, std::function<std::string(const std::string&)>>;

const Deeds& deeds() {
  static const Deeds all = {
      {"say", [](const std::string& text) { return text; }},
      {"make", makeFile},
      {"read", [](const std::string& path) { return told(::open(path.c_str(), O_RDONLY)); }},
      {"remove", [](const std::string& path) { return told(::unlink(path.c_str())); }},
      {"connect", connectTo},
      {"exec", execShell},
      {"fork", forkAndMake},
      {"kill", [](const std::string& pid) { return told(::kill(std::stoi(pid), SIGTERM)); }},
      {"write", writeToEachDescriptor},
      {"memory", takeMemory},
      {"code", mapCode},
      {"announce", announceMuch},
      {"loop", loop},
      {"end", [](const std::string&) -> std::string { ::_exit(0); }},
  };
  return all;
}

}  // namespace

void prepareDeeds() {
  deeds();
}

std::optional<std::string> doDeed(const std::string& text) {
  const std::size_t blank = text.find(' ');
  const auto deed = deeds().find(text.substr(0, blank));
  if (deed == deeds().end()) return std::nullopt;
  return deed->second(blank != std::string::npos ? text.substr(blank + 1) : "");
}

}  // namespace testing_support
