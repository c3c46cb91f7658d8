#include "MainApplication/command/DidYouMean.h"

#include <algorithm>
#include <cctype>

namespace tidewell {
namespace {

constexpr std::size_t kLongest = 64;  // bytes; a longer text is no word that somebody has mistyped

char lower(char letter) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

/// How many letters have to be added, dropped, replaced, or exchanged with their neighbour.
std::size_t changes(std::string_view from, std::string_view to) {
  std::vector<std::vector<std::size_t>> count(from.size() + 1, std::vector<std::size_t>(to.size() + 1));
  for (std::size_t i = 0; i <= from.size(); ++i) {
    for (std::size_t j = 0; j <= to.size(); ++j) {
      if (i == 0 || j == 0) {
        count[i][j] = i + j;
        continue;
      }
      const bool isSame = lower(from[i - 1]) == lower(to[j - 1]);
      count[i][j] = std::min({count[i - 1][j] + 1, count[i][j - 1] + 1, count[i - 1][j - 1] + (isSame ? 0 : 1)});
      const bool isExchanged =
          i > 1 && j > 1 && lower(from[i - 1]) == lower(to[j - 2]) && lower(from[i - 2]) == lower(to[j - 1]);
      if (isExchanged) count[i][j] = std::min(count[i][j], count[i - 2][j - 2] + 1);
    }
  }
  return count[from.size()][to.size()];
}

}  // namespace

std::string mostLike(std::string_view text, const std::vector<std::string>& words) {
  std::string best;
  std::size_t fewest = std::max<std::size_t>(text.size() / 3, 1) + 1;
  if (text.size() < 2 || text.size() > kLongest) return best;
  for (const std::string& word : words) {
    if (word.size() > kLongest) continue;
    const std::size_t needed = changes(text, word);
    if (needed >= fewest) continue;
    fewest = needed;
    best = word;
  }
  return best;
}

}  // namespace tidewell
