// The command's texts, in the person's language; those of `--json` never are. Any thread.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

using TextArguments = std::initializer_list<std::optional<std::string_view>>;

/// The text, with its "%@" filled. Without a translation the key itself.
std::string localized(const char* key, TextArguments arguments = {});

/// The text for so many of something: the number fills the first "%@", `second` another one.
std::string localizedPlural(const char* one, const char* many, std::uint64_t count, std::string_view second = {});

}  // namespace tidewell
