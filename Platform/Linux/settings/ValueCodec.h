// Encodes settings values as bytes, and decodes them.
//
// The form: one byte for the version, then the value; a value is one byte for its type and its content, numbers in
// eight bytes little-endian, texts and data behind their length, arrays and dictionaries behind their count.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Value.h"

namespace platform::linux_ {

std::string encodedValue(const Value& value);

/// Absent for bytes that encodedValue() did not make, whatever they are, and for values nested deeper than 64 levels.
std::optional<Value> decodedValue(std::string_view bytes);

}  // namespace platform::linux_
