// The word that a person may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tidewell {

/// The one of the words that is most like the text, in upper or lower case; "" when none is like it: when more than a
/// third of its letters would have to be added, dropped, replaced or exchanged with a neighbour.
std::string mostLike(std::string_view text, const std::vector<std::string>& words);

}  // namespace tidewell
