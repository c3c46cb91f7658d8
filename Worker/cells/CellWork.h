// What a cell does: reads what it is given, and answers. Runs in the cell, where nothing else can be done.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tidewell {

/// The answer to a request; absent for what is none. Throws when there is too little memory.
std::optional<std::string> cellAnswer(std::string_view request);

}  // namespace tidewell
