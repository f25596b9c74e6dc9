#include "Suggestion.h"

#include <algorithm>
#include <vector>

namespace host {

std::size_t Distance(std::string_view first, std::string_view second) {
  std::vector<std::vector<std::size_t>> table(first.size() + 1, std::vector<std::size_t>(second.size() + 1));
  for (std::size_t i = 0; i <= first.size(); ++i) {
    for (std::size_t j = 0; j <= second.size(); ++j) {
      if (i == 0 || j == 0) {
        table[i][j] = i + j;
        continue;
      }
      const std::size_t nExchange = first[i - 1] == second[j - 1] ? 0 : 1;
      table[i][j] = std::min({table[i - 1][j] + 1, table[i][j - 1] + 1, table[i - 1][j - 1] + nExchange});
      if (i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1]) {
        table[i][j] = std::min(table[i][j], table[i - 2][j - 2] + 1);
      }
    }
  }
  return table[first.size()][second.size()];
}

std::string Nearest(std::string_view word, std::span<const std::string> candidates) {
  // A third of the letters may be wrong: more would be guessing.
  std::size_t nBest = std::max<std::size_t>(1, word.size() / 3) + 1;
  std::string best;
  for (const std::string& candidate : candidates) {
    const std::size_t nDistance = Distance(word, candidate);
    if (nDistance < nBest) {
      nBest = nDistance;
      best = candidate;
    }
  }
  return best;
}

}  // namespace host
