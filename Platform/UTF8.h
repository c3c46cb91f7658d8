// The check for valid UTF-8, the encoding of all text.
#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

/// True when the bytes are well-formed UTF-8 (Unicode 15, table 3-7): no overlong forms, no surrogates.
bool isValidUTF8(std::string_view bytes);

/// In bytes, the length of the character that the bytes begin with; 0 when they begin with none, or are empty.
std::size_t lengthOfFirstUTF8Sequence(std::string_view bytes);

}  // namespace platform
