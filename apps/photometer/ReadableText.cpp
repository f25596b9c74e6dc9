#include "ReadableText.h"

#include <fmt/format.h>

#include "platform/Platform.h"

namespace host {

namespace {

constexpr std::size_t ShownLength = 60;

}  // namespace

std::string Readable(std::string_view bytes) {
  std::string text;
  for (const char byte : bytes) {
    const auto number = static_cast<unsigned char>(byte);
    text += number < ' ' || number == 0x7F
                ? fmt::format("\\x{:02X}", number)
                : photometer::platform::ToUtf8(photometer::platform::MultiByteToWideChar({&byte, 1}));
  }
  return text;
}

std::string Shown(std::string_view bytes) {
  return bytes.size() > ShownLength ? Readable(bytes.substr(0, ShownLength)) + "..." : Readable(bytes);
}

}  // namespace host
