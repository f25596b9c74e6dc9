#include "platform/InstrumentPath.h"

#include <algorithm>

#include "platform/Platform.h"

namespace photometer::platform {

namespace {

bool IsForbidden(char16_t character) {
  return character < u' ' || std::u16string_view(u"/:*?\"<>|").find(character) != std::u16string_view::npos;
}

bool IsName(std::u16string_view name) {
  return !name.empty() && name != u"." && name != u".." && std::none_of(name.begin(), name.end(), IsForbidden);
}

}  // namespace

std::optional<std::vector<std::string>> SplitInstrumentPath(std::u16string_view path) {
  if (path.empty() || path.front() != u'\\') {
    return std::nullopt;
  }
  std::vector<std::string> names;
  if (path.size() == 1) {
    return names;
  }
  for (std::size_t nStart = 1; nStart <= path.size();) {
    const std::size_t nEnd = std::min(path.find(u'\\', nStart), path.size());
    const std::u16string_view name = path.substr(nStart, nEnd - nStart);
    if (!IsName(name)) {
      return std::nullopt;
    }
    names.push_back(ToUtf8(name));
    nStart = nEnd + 1;
  }
  return names;
}

}  // namespace photometer::platform
