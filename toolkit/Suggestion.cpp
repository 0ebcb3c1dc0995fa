#include "toolkit/Suggestion.h"

#include <algorithm>

namespace tovi {

static constexpr std::size_t kFarthest = 2;

// The optimal string alignment distance, row by row.
static std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::vector<std::size_t>> table(one.size() + 1,
                                              std::vector<std::size_t>(other.size() + 1));
  for (std::size_t row = 0; row <= one.size(); ++row) {
    for (std::size_t column = 0; column <= other.size(); ++column) {
      auto& least = table[row][column];
      least = std::max(row, column);
      if (row == 0 || column == 0) continue;
      const bool same = one[row - 1] == other[column - 1];
      least = std::min({table[row - 1][column] + 1, table[row][column - 1] + 1,
                        table[row - 1][column - 1] + (same ? 0 : 1)});
      if (row > 1 && column > 1 && one[row - 1] == other[column - 2] &&
          one[row - 2] == other[column - 1]) {
        least = std::min(least, table[row - 2][column - 2] + 1);
      }
    }
  }
  return table[one.size()][other.size()];
}

// The smaller, the nearer. A word is no slip of the fingers when half of it differs.
static std::size_t farness(std::string_view word, std::string_view known) {
  constexpr std::size_t kFewestForPrefix = 2;
  if (word.size() >= kFewestForPrefix && known.starts_with(word)) return 1;
  if (word.size() > known.size() + kFarthest) return kFarthest + 1;
  const auto steps = distance(word, known);
  return steps * 2 >= known.size() ? kFarthest + 1 : steps;
}

std::string suggestion(std::string_view word, const std::vector<std::string>& known) {
  const auto nearest =
      std::min_element(known.begin(), known.end(), [&](const auto& one, const auto& other) {
        return farness(word, one) < farness(word, other);
      });
  if (nearest == known.end() || farness(word, *nearest) > kFarthest) return "";
  return " (did you mean \"" + *nearest + "\"?)";
}

}  // namespace tovi
