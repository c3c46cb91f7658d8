// Format strings, as translators write them.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// The text for an absent value.
inline constexpr std::string_view kAbsentObjectText = "(null)";

/// Fills "%@" and "%s" with the arguments in order, and "%1$@" with the argument of that number, so that a translation
/// can change their order; "%%" is a percent sign. A directive without its argument, and any other text behind "%",
/// stays as it is: a translation can be wrong, and must not crash the worker.
std::string formatted(std::string_view format, std::initializer_list<std::optional<std::string_view>> arguments);

}  // namespace platform
