// Takes parts out of a JSON document; all that stays is the document's own text, byte for byte.
//
// Members keep their order, numbers their digits and strings their escapes. The time grows with the length alone,
// whatever the names and however deep the nesting: sites fill these documents. Any thread; nothing is thrown.
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
  std::string_view after;   // what is left of that text, after parts of it have gone
};

/// The document without those parts that `goes` chooses. It is asked for each part after the parts inside that one.
/// Absent when the text is no JSON, or no UTF-8. An escape that is half a character ("\ud83d") is no fault: scripts
/// make such strings.
std::optional<std::string> withoutParts(std::string_view document, const std::function<bool(const JsonPart&)>& goes);

}  // namespace tidewell
