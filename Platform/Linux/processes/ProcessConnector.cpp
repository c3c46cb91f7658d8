#include "Platform/Linux/processes/ProcessConnector.h"

#include <linux/cn_proc.h>
#include <linux/connector.h>
#include <linux/filter.h>
#include <linux/netlink.h>
#include <poll.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

namespace platform::linux_ {
namespace {

constexpr std::size_t kMessageOffset = NLMSG_LENGTH(0);
constexpr std::size_t kEventOffset = kMessageOffset + sizeof(cn_msg);
constexpr int kSelfTestMilliseconds = 200;

/// The kernel's headers name the events inside of proc_event up to version 6.5, and outside of it since then: from
/// within a class that derives from it both are found.
struct ProcessEvent : proc_event {
  static constexpr auto kExec = PROC_EVENT_EXEC;
};

/// Lets only starts of programs through, so that other events do not even wake the process.
bool filterStarts(int socket) {
  constexpr auto kWhat = static_cast<std::uint32_t>(kEventOffset + offsetof(proc_event, what));
  std::array<sock_filter, 4> program = {{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kWhat),
      // Loaded in network byte order, as all loads of the filter are.
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __builtin_bswap32(ProcessEvent::kExec), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, 0xffffffff),
      BPF_STMT(BPF_RET | BPF_K, 0),
  }};
  sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  return ::setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter) == 0;
}

}  // namespace

std::unique_ptr<ProcessConnector> ProcessConnector::open(RunLoop& loop, Handler handler) {
  std::unique_ptr<ProcessConnector> connector(new ProcessConnector(loop, std::move(handler)));
  if (!connector->subscribe() || !connector->announcesOwnChild() || !connector->attach()) return nullptr;
  return connector;
}

bool ProcessConnector::subscribe() {
  socket_.reset(::socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_CONNECTOR));
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = CN_IDX_PROC;
  if (!socket_ || ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return false;
  if (!filterStarts(socket_.get())) return false;

  constexpr proc_cn_mcast_op kListen = PROC_CN_MCAST_LISTEN;
  alignas(nlmsghdr) std::array<char, NLMSG_SPACE(sizeof(cn_msg) + sizeof kListen)> bytes{};
  nlmsghdr header{};
  header.nlmsg_len = NLMSG_LENGTH(sizeof(cn_msg) + sizeof kListen);
  header.nlmsg_type = NLMSG_DONE;
  cn_msg message{};
  message.id.idx = CN_IDX_PROC;
  message.id.val = CN_VAL_PROC;
  message.len = sizeof kListen;
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + kMessageOffset, &message, sizeof message);
  std::memcpy(bytes.data() + kEventOffset, &kListen, sizeof kListen);
  return ::send(socket_.get(), bytes.data(), header.nlmsg_len, 0) == static_cast<ssize_t>(header.nlmsg_len);
}

bool ProcessConnector::announcesOwnChild() const {
  std::array<char*, 2> arguments = {const_cast<char*>("true"), nullptr};
  pid_t child = 0;
  if (::posix_spawnp(&child, "true", nullptr, nullptr, arguments.data(), environ) != 0) return false;
  bool announced = false;
  pollfd descriptor{socket_.get(), POLLIN, 0};
  while (!announced && ::poll(&descriptor, 1, kSelfTestMilliseconds) > 0) {
    for (pid_t started = 0; !announced && started >= 0;) announced = (started = nextStarted()) == child;
  }
  ::waitpid(child, nullptr, 0);
  return announced;
}

bool ProcessConnector::attach() {
  const auto readable = [](sd_event_source*, int, std::uint32_t, void* data) {
    static_cast<ProcessConnector*>(data)->drain();
    return 0;
  };
  sd_event_source* source = nullptr;
  const int result = sd_event_add_io(loop_.event(), &source, socket_.get(), EPOLLIN, readable, this);
  source_.reset(source);
  return result >= 0;
}

void ProcessConnector::drain() {
  for (pid_t started = 0; (started = nextStarted()) >= 0;) {
    loop_.async([handler = handler_, started] { handler(started); });
  }
}

pid_t ProcessConnector::nextStarted() const {
  alignas(nlmsghdr) std::array<char, 1024> bytes;
  while (true) {
    sockaddr_nl sender{};
    socklen_t senderSize = sizeof sender;
    const ssize_t length =
        ::recvfrom(socket_.get(), bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) return errno == ENOBUFS ? 0 : -1;
    proc_event event{};
    // From the kernel only: other programs can send to this socket too.
    if (sender.nl_pid != 0 || static_cast<std::size_t>(length) < kEventOffset + sizeof event) continue;
    std::memcpy(&event, bytes.data() + kEventOffset, sizeof event);
    if (event.what == ProcessEvent::kExec) return event.event_data.exec.process_tgid;
  }
}

}  // namespace platform::linux_
