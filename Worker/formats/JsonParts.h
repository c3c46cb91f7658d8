// Removes parts of a JSON document; the rest keeps its own text, byte for byte.
//
// Members keep their order, numbers their digits and strings their escapes. The time grows only with the length,
// whatever the names and the nesting, since sites fill these documents. Memory: two to four times the length. Any
// thread; nothing is thrown.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

/// A member of an object or an element of an array.
struct JsonPart {
  /// The names that lead to it from the top of the document, its own last; an element's name is empty.
  const std::vector<std::string>& path;
  std::string_view before;  // its value's text
  std::string_view after;   // what is left of that text after parts inside it were removed
};

/// The document without the parts for which `goes` returns true; it is called for each part after the parts inside that
/// one. Absent when the text is no JSON, no UTF-8, or nested deeper than kDeepestJson levels. An escape of half a
/// character ("\ud83d") is accepted: scripts make such strings.
std::optional<std::string> withoutParts(std::string_view document, const std::function<bool(const JsonPart&)>& goes);

}  // namespace tidewell
