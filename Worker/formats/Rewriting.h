// What becomes of a file that holds more than what sites have left: read whole, it is answered with what to do.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tidewell {

struct Rewriting {
  enum class Action {
    kLeave,    // nothing of a site is in it, or it can't be told what is
    kReplace,  // `contents` take the place of the old ones
    kRemove,   // nothing in it is worth keeping, or it can't be read
  };

  Action action = Action::kLeave;
  std::string contents;

  static Rewriting leave() { return {}; }
  static Rewriting remove() { return {Action::kRemove, ""}; }
  static Rewriting replaceBy(std::string contents) { return {Action::kReplace, std::move(contents)}; }
};

/// Takes all bytes of a file. Never throws, whatever they are.
using Rewriter = std::function<Rewriting(std::string_view contents)>;

}  // namespace tidewell
