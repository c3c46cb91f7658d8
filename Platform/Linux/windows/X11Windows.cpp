#include "Platform/Linux/windows/X11Windows.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace platform::linux_ {
namespace {

constexpr std::uint32_t kMostWindows = 4096;

struct Disconnect {
  void operator()(xcb_connection_t* connection) const { ::xcb_disconnect(connection); }
};

struct Free {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

/// The number of a name; 0 when nobody has used it on that server.
xcb_atom_t atomNamed(xcb_connection_t* server, std::string_view name) {
  const auto cookie = ::xcb_intern_atom(server, 1, static_cast<std::uint16_t>(name.size()), name.data());
  const Reply<xcb_intern_atom_reply_t> reply(::xcb_intern_atom_reply(server, cookie, nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// The numbers that a property of a window holds. Absent when it is not there.
std::optional<std::vector<std::uint32_t>> numbersOf(xcb_connection_t* server, xcb_get_property_cookie_t cookie) {
  const Reply<xcb_get_property_reply_t> reply(::xcb_get_property_reply(server, cookie, nullptr));
  if (!reply || reply->format != 32) return std::nullopt;
  const auto* first = static_cast<const std::uint32_t*>(::xcb_get_property_value(reply.get()));
  return std::vector<std::uint32_t>(first, first + reply->value_len);
}

xcb_window_t rootOf(xcb_connection_t* server, int screen) {
  xcb_screen_iterator_t screens = ::xcb_setup_roots_iterator(::xcb_get_setup(server));
  for (; screens.rem > 1 && screen > 0; --screen) ::xcb_screen_next(&screens);
  return screens.data->root;
}

}  // namespace

std::optional<std::set<pid_t>> processesWithWindows() {
  int screen = 0;
  const std::unique_ptr<xcb_connection_t, Disconnect> server(::xcb_connect(nullptr, &screen));
  if (::xcb_connection_has_error(server.get()) != 0) return std::nullopt;
  const auto property = [&](xcb_window_t window, xcb_atom_t name, xcb_atom_t type) {
    return ::xcb_get_property(server.get(), 0, window, name, type, 0, kMostWindows);
  };
  const xcb_window_t root = rootOf(server.get(), screen);
  const auto windows =
      numbersOf(server.get(), property(root, atomNamed(server.get(), "_NET_CLIENT_LIST"), xcb_atom_t{XCB_ATOM_WINDOW}));
  if (!windows) return std::nullopt;
  const xcb_atom_t pidOfWindow = atomNamed(server.get(), "_NET_WM_PID");
  std::vector<xcb_get_property_cookie_t> asked;
  asked.reserve(windows->size());
  for (const xcb_window_t window : *windows) {
    asked.push_back(property(window, pidOfWindow, xcb_atom_t{XCB_ATOM_CARDINAL}));
  }
  std::set<pid_t> processes;
  for (const xcb_get_property_cookie_t cookie : asked) {
    for (const std::uint32_t pid : numbersOf(server.get(), cookie).value_or(std::vector<std::uint32_t>())) {
      processes.insert(static_cast<pid_t>(pid));
    }
  }
  return processes;
}

}  // namespace platform::linux_
