#include "tests/support/PrivateBus.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace testing_support {
namespace {

constexpr char kVariable[] = "DBUS_SESSION_BUS_ADDRESS";
constexpr std::chrono::seconds kBound{60};  // generous, so that no test fails on a busy machine

}  // namespace

PrivateBus::PrivateBus() {
  std::array<int, 2> address{};
  if (::pipe(address.data()) != 0) throw std::runtime_error("no pipe");
  const std::string printAddress = "--print-address=" + std::to_string(address[1]);
  std::array<const char*, 6> arguments = {"dbus-daemon",        "--config-file=" TIDEWELL_BUS_CONFIGURATION,
                                          "--nofork",           "--nopidfile",
                                          printAddress.c_str(), nullptr};
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  ::posix_spawn_file_actions_addclose(&actions, address[0]);
  const int result =
      ::posix_spawnp(&daemon_, "dbus-daemon", &actions, nullptr, const_cast<char* const*>(arguments.data()), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(address[1]);
  std::string text;
  std::array<char, 512> buffer{};
  for (ssize_t count = 0; text.find('\n') == std::string::npos;) {
    count = ::read(address[0], buffer.data(), buffer.size());
    if (count <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  ::close(address[0]);
  if (result != 0 || text.empty()) throw std::runtime_error("no bus");
  const char* before = std::getenv(kVariable);
  before_ = before != nullptr ? before : "";
  ::setenv(kVariable, text.substr(0, text.find('\n')).c_str(), 1);
}

PrivateBus::~PrivateBus() {
  if (before_.empty()) {
    ::unsetenv(kVariable);
  } else {
    ::setenv(kVariable, before_.c_str(), 1);
  }
  ::kill(daemon_, SIGTERM);
  ::waitpid(daemon_, nullptr, 0);
}

BusProgram::BusProgram(platform::linux_::RunLoop& loop, const std::string& name, Handler handler)
    : handler_(std::move(handler)) {
  auto bus = platform::linux_::SessionBus::open(loop);
  if (!bus) throw std::runtime_error("no connection");
  bus_ = std::move(*bus);
  const auto filter = [](sd_bus_message* message, void* data, sd_bus_error*) {
    auto* self = static_cast<BusProgram*>(data);
    if (!self->handler_ || sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) return 0;
    self->handler_(message);
    return 1;
  };
  sd_bus_slot* slot = nullptr;
  sd_bus_add_filter(bus_->get(), &slot, filter, this);
  filter_.reset(slot);
  if (!name.empty() && bus_->requestName(name)) throw std::runtime_error("no name");
}

bool runUntil(platform::linux_::RunLoop& loop, const std::function<bool()>& condition) {
  auto late = std::make_shared<bool>(false);
  loop.after(kBound, [late] { *late = true; });
  loop.runModally([&] { return *late || condition(); });
  return condition();
}

}  // namespace testing_support
