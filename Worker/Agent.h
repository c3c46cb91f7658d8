// The one thing that the main application asks of the worker.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tidewell {

class Agent {
 public:
  using Reply = std::function<void(const std::string& text)>;

  virtual ~Agent() = default;

  /// Obtains, ahead of any cleaning, the grants that the named browser will need, and then replies with "bookmarked: "
  /// + the identifier + " ". A call that names no supported browser never gets a reply. May be called on any thread;
  /// returns at once.
  virtual void answerFrom_reply(const std::string& bundleIdentifier, Reply reply) = 0;
};

/// The method's interface and name on the session bus.
inline constexpr char kAgentInterface[] = "com.emberlinestudio.Tidewell.Agent";
inline constexpr char kAgentMethod[] = "answerFrom";
inline constexpr std::string_view kAgentArgumentNames("bundleIdentifier\0text\0", 22);  // each ends in a NUL byte

}  // namespace tidewell
