#include "platform/FormattedText.h"

#include <algorithm>
#include <cstdio>

#include "platform/Platform.h"
#include "platform/posix/PointLocale.h"

namespace photometer::platform {

std::string FormatTextList(std::size_t nLimit, const char* format, std::va_list arguments) {
  const PointLocale locale;
  std::va_list again;
  va_copy(again, arguments);
  const int iLength = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text;
  if (iLength > 0) {
    text.resize(std::min(static_cast<std::size_t>(iLength), nLimit));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

std::string FormatText(std::size_t nLimit, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = FormatTextList(nLimit, format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace photometer::platform
