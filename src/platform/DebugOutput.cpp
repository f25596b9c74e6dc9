#include "platform/FormattedText.h"
#include "platform/Platform.h"

namespace photometer::platform {

namespace {

/// Far above the longest message, and small enough that a runaway text does no harm.
constexpr std::size_t DebugTextLimit = 16384;

}  // namespace

void NKDbgPrintfW(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = FormatTextList(DebugTextLimit, format, arguments);
  va_end(arguments);
  NKDbgPrintW(MultiByteToWideChar(text));
}

void NKDbgPrintW(std::u16string_view text) { CurrentBoard().GetDebugOutput().Write(text); }

}  // namespace photometer::platform
