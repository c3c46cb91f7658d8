// Text is UTF-8; this is the one place that knows what valid UTF-8 is.
#pragma once

#include <string_view>

namespace platform {

/// True when the bytes are well-formed UTF-8 (Unicode 15, table 3-7): no overlong forms, no surrogates.
bool isValidUTF8(std::string_view bytes);

}  // namespace platform
