// Whether a text is JSON, and within bounds: sites fill some documents, and may nest and multiply values in them.
#pragma once

#include <cstddef>
#include <limits>
#include <string_view>

namespace tidewell {

/// Levels of objects and arrays in one another. Browsers' own documents have about 20.
inline constexpr std::size_t kDeepestJson = 512;

/// Whether the whole text is JSON of valid UTF-8, at most kDeepestJson levels deep, with at most `mostValues` values,
/// objects and arrays included. Takes time in proportion to the text, and no memory but that of its longest string. Any
/// thread; nothing is thrown.
bool isBoundedJson(std::string_view text, std::size_t mostValues = std::numeric_limits<std::size_t>::max());

}  // namespace tidewell
