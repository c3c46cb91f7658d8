// What whoever has taken over a cell would try.
#pragma once

#include <optional>
#include <string>

namespace testing_support {

/// To be called before the door closes: makes what the deeds need.
void prepareDeeds();

/// Does what "DEED ARGUMENT" says, and tells what came of it: "done", an error's text, or what the deed has found.
/// Absent when there is no such deed.
std::optional<std::string> doDeed(const std::string& text);

}  // namespace testing_support
