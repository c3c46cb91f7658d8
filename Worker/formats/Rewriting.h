// What to do with a file that holds other things besides what sites have left, decided from its whole contents.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tidewell {

struct Rewriting {
  enum class Action {
    kLeave,        // nothing of a site is in it, or can be recognised
    kReplace,      // `contents` replace the old ones
    kRemove,       // nothing in it is worth keeping, or it can't be read
    kLeaveUnread,  // it can't be read, and may hold something that is worth keeping
  };

  Action action = Action::kLeave;
  std::string contents;

  static Rewriting leave() { return {}; }
  static Rewriting leaveUnread() { return {Action::kLeaveUnread, ""}; }
  static Rewriting remove() { return {Action::kRemove, ""}; }
  static Rewriting replaceBy(std::string contents) { return {Action::kReplace, std::move(contents)}; }
};

/// Takes all bytes of a file, or none of one that is too large. Never throws, whatever the bytes are.
using Rewriter = std::function<Rewriting(std::string_view contents)>;

}  // namespace tidewell
