#include "ByteText.h"

#include <charconv>
#include <utility>

#include "platform/Transcript.h"

namespace host {

namespace {

// Bytes without a line end must not be kept for ever.
constexpr std::size_t LongestLine = 256;
constexpr std::string_view ByteMark = "\\x";
constexpr std::size_t ByteDigits = 2;
constexpr int Hexadecimal = 16;

}  // namespace

std::string Harmless(std::string_view message) {
  std::string text;
  char before = 0;
  for (const char byte : message) {
    const auto nByte = static_cast<unsigned char>(byte);
    const bool bControl = (nByte < ' ' && byte != '\n') || byte == '\x7F';
    if (before == '\xC2' && nByte >= 0x80 && nByte <= 0x9F) {  // U+0080 to U+009F
      text.pop_back();
      text += photometer::platform::Printable(std::string{before, byte});
    } else {
      text += bControl ? photometer::platform::Printable({&byte, 1}) : std::string(1, byte);
    }
    before = byte;
  }
  return text;
}

std::string BytesOf(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    unsigned uByte = 0;
    const std::string_view digits =
        text.size() < ByteMark.size() ? std::string_view() : text.substr(ByteMark.size(), ByteDigits);
    const char* pEnd = digits.data() + digits.size();
    const bool bByte = text.starts_with(ByteMark) && digits.size() == ByteDigits &&
                       std::from_chars(digits.data(), pEnd, uByte, Hexadecimal).ptr == pEnd;
    bytes += bByte ? static_cast<char>(uByte) : text.front();
    text.remove_prefix(bByte ? ByteMark.size() + ByteDigits : 1);
  }
  return bytes;
}

std::string ArrivingLines::Take(std::string_view bytes) {
  std::string lines;
  for (const char byte : bytes) {
    m_strBegun += byte;
    if (byte == '\n' || m_strBegun.size() >= LongestLine) {
      lines += TakeRest();
    }
  }
  return lines;
}

std::string ArrivingLines::TakeRest() {
  const std::string begun = std::exchange(m_strBegun, {});
  return begun.empty() ? begun : photometer::platform::Printable(begun) + "\n";
}

}  // namespace host
