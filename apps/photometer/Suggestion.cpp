#include "Suggestion.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace host {

std::size_t Distance(std::string_view first, std::string_view second) {
  // Of the table of distances between all beginnings of both words, the last three rows.
  std::vector<std::size_t> twoBack(second.size() + 1);
  std::vector<std::size_t> oneBack(second.size() + 1);
  std::vector<std::size_t> row(second.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= first.size(); ++i) {
    std::swap(twoBack, oneBack);
    std::swap(oneBack, row);
    row[0] = i;
    for (std::size_t j = 1; j <= second.size(); ++j) {
      const std::size_t nExchange = first[i - 1] == second[j - 1] ? 0 : 1;
      row[j] = std::min({oneBack[j] + 1, row[j - 1] + 1, oneBack[j - 1] + nExchange});
      if (i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1]) {
        row[j] = std::min(row[j], twoBack[j - 2] + 1);
      }
    }
  }
  return row.back();
}

std::string Nearest(std::string_view word, std::span<const std::string> candidates) {
  // A third of the letters may be wrong: more would be guessing.
  std::size_t nBest = std::max<std::size_t>(1, word.size() / 3) + 1;
  std::string best;
  for (const std::string& candidate : candidates) {
    // The words differ at least by the letters that one has more: a file of long words costs no time.
    const std::size_t nLeast = std::max(word.size(), candidate.size()) - std::min(word.size(), candidate.size());
    if (nLeast >= nBest) {
      continue;
    }
    if (const std::size_t nDistance = Distance(word, candidate); nDistance < nBest) {
      nBest = nDistance;
      best = candidate;
    }
  }
  return best;
}

}  // namespace host
