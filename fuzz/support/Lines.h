/// Inputs that are text.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Takes the first line away, with its end.
inline std::string TakeLine(std::string_view* pText) {
  const std::size_t nEnd = std::min(pText->find('\n'), pText->size());
  std::string line(pText->substr(0, nEnd));
  pText->remove_prefix(std::min(nEnd + 1, pText->size()));
  return line;
}

inline std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    lines.push_back(TakeLine(&text));
  }
  return lines;
}

/// The text without "/": names in it are then those of files in the current folder, which has none.
inline std::string WithoutFolders(std::string_view text) {
  std::string changed(text);
  std::ranges::replace(changed, '/', '_');
  return changed;
}

}  // namespace fuzz
