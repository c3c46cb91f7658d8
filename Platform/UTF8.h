// The check for valid UTF-8, the encoding of all text.
#pragma once

#include <string_view>

namespace platform {

/// True when the bytes are well-formed UTF-8 (Unicode 15, table 3-7): no overlong forms, no surrogates.
bool isValidUTF8(std::string_view bytes);

}  // namespace platform
