#include <algorithm>
#include <array>

#include "platform/Platform.h"

namespace photometer::platform {

namespace {

constexpr std::size_t FirstSpecial = 0x80;

/// The characters of the bytes 0x80 to 0x9F; all others are their own number. The five bytes that the code page leaves
/// open are the control characters of the same number, as the board converts them.
constexpr std::array<char16_t, 32> Specials = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                               0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                               0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                               0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char16_t CharacterOf(char byte) {
  const auto number = static_cast<unsigned char>(byte);
  const bool bSpecial = number >= FirstSpecial && number < FirstSpecial + Specials.size();
  return bSpecial ? Specials[number - FirstSpecial] : char16_t{number};
}

char ByteOf(char16_t character) {
  if (character < FirstSpecial || (character >= FirstSpecial + Specials.size() && character <= 0xFF)) {
    return static_cast<char>(character);
  }
  const auto found = std::find(Specials.begin(), Specials.end(), character);
  return found == Specials.end() ? '?'
                                 : static_cast<char>(FirstSpecial + static_cast<std::size_t>(found - Specials.begin()));
}

constexpr bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
constexpr char32_t Replacement = 0xFFFD;

bool PairAt(std::u16string_view text, std::size_t nIndex) {
  return IsHighSurrogate(text[nIndex]) && nIndex + 1 < text.size() && IsLowSurrogate(text[nIndex + 1]);
}

/// The code point at the index, which moves behind it.
char32_t TakeCodePoint(std::u16string_view text, std::size_t& nIndex) {
  if (PairAt(text, nIndex)) {
    const char32_t high = text[nIndex] - char32_t{0xD800};
    const char32_t low = text[nIndex + 1] - char32_t{0xDC00};
    nIndex += 2;
    return 0x10000 + (high << 10U) + low;
  }
  const char32_t unit = text[nIndex++];
  return IsHighSurrogate(unit) || IsLowSurrogate(unit) ? Replacement : unit;
}

void AddUtf8(std::string& text, char32_t point) {
  const auto add = [&text](char32_t byte) { text += static_cast<char>(byte); };
  const auto addTail = [&add, point](unsigned shift) { add(0x80U | ((point >> shift) & 0x3FU)); };
  if (point < 0x80) {
    add(point);
  } else if (point < 0x800) {
    add(0xC0U | (point >> 6U));
    addTail(0);
  } else if (point < 0x10000) {
    add(0xE0U | (point >> 12U));
    addTail(6);
    addTail(0);
  } else {
    add(0xF0U | (point >> 18U));
    addTail(12);
    addTail(6);
    addTail(0);
  }
}

void AddUtf16(std::u16string& text, char32_t point) {
  if (point < 0x10000) {
    text += static_cast<char16_t>(point);
    return;
  }
  text += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10U));
  text += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FFU));
}

struct LeadByte {
  unsigned char mask;
  unsigned char bits;
  std::size_t nTail;
  /// Below it the sequence is longer than it need be.
  char32_t smallest;
};

constexpr LeadByte LeadBytes[] = {
    {0x80, 0x00, 0, 0}, {0xE0, 0xC0, 1, 0x80}, {0xF0, 0xE0, 2, 0x800}, {0xF8, 0xF0, 3, 0x10000}};

/// The code point that starts at the index, which moves behind it; a byte that starts none counts alone.
char32_t TakeUtf8(std::string_view text, std::size_t& nIndex) {
  const auto lead = static_cast<unsigned char>(text[nIndex++]);
  const LeadByte* pLead = std::find_if(std::begin(LeadBytes), std::end(LeadBytes),
                                       [lead](const LeadByte& entry) { return (lead & entry.mask) == entry.bits; });
  if (pLead == std::end(LeadBytes) || text.size() - nIndex < pLead->nTail) {
    return Replacement;
  }
  char32_t point = lead & static_cast<unsigned char>(~pLead->mask);
  for (std::size_t nTail = 0; nTail < pLead->nTail; ++nTail) {
    const auto byte = static_cast<unsigned char>(text[nIndex + nTail]);
    if ((byte & 0xC0U) != 0x80U) {
      return Replacement;
    }
    point = (point << 6U) | (byte & 0x3FU);
  }
  const bool bSurrogate = point >= 0xD800 && point <= 0xDFFF;
  if (point < pLead->smallest || point > 0x10FFFF || bSurrogate) {
    return Replacement;
  }
  nIndex += pLead->nTail;
  return point;
}

}  // namespace

std::u16string MultiByteToWideChar(std::string_view text) {
  std::u16string wide(text.size(), u'\0');
  std::transform(text.begin(), text.end(), wide.begin(), CharacterOf);
  return wide;
}

std::string WideCharToMultiByte(std::u16string_view text) {
  std::string narrow;
  narrow.reserve(text.size());
  for (std::size_t nIndex = 0; nIndex < text.size(); ++nIndex) {
    if (PairAt(text, nIndex)) {
      narrow += '?';
      ++nIndex;
    } else {
      narrow += ByteOf(text[nIndex]);
    }
  }
  return narrow;
}

std::string wcstombs(std::u16string_view text, std::size_t nBytes) {
  std::string narrow = WideCharToMultiByte(text);
  narrow.resize(std::min(narrow.size(), nBytes));
  return narrow;
}

std::string ToUtf8(std::u16string_view text) {
  std::string utf8;
  for (std::size_t nIndex = 0; nIndex < text.size();) {
    AddUtf8(utf8, TakeCodePoint(text, nIndex));
  }
  return utf8;
}

std::u16string FromUtf8(std::string_view text) {
  std::u16string wide;
  for (std::size_t nIndex = 0; nIndex < text.size();) {
    AddUtf16(wide, TakeUtf8(text, nIndex));
  }
  return wide;
}

}  // namespace photometer::platform
