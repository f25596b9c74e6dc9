#include "WrapText.h"

namespace common {

namespace {

constexpr std::size_t HelpColumns = 100;

}  // namespace

std::string WrapText(std::string_view text, std::size_t nIndent) {
  std::string wrapped;
  for (std::size_t nRoom = HelpColumns; text.size() > nRoom; nRoom = HelpColumns - nIndent) {
    std::size_t nEnd = text.rfind(' ', nRoom);
    nEnd = nEnd == std::string_view::npos ? text.find(' ') : nEnd;
    if (nEnd == std::string_view::npos) {
      break;
    }
    wrapped += std::string(text.substr(0, nEnd)) + "\n" + std::string(nIndent, ' ');
    text.remove_prefix(nEnd + 1);
  }
  return wrapped + std::string(text) + "\n";
}

}  // namespace common
