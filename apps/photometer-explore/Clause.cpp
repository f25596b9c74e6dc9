#include "Clause.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace explorer {

namespace {

constexpr std::string_view Digits = "0123456789ABCDEF";
constexpr double LargestExact = 9007199254740992.0;  // 2^53

std::string NumberText(double dNumber) {
  std::array<char, 40> text{};
  const auto [pEnd, error] = std::to_chars(text.data(), text.data() + text.size(), dNumber);
  return error == std::errc() ? std::string(text.data(), pEnd) : std::string("0");
}

std::optional<double> ParseNumber(std::string_view text) {
  double dNumber = 0.0;
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), dNumber);
  return error == std::errc() && pEnd == text.data() + text.size() ? std::optional(dNumber) : std::nullopt;
}

std::optional<std::string> ParseBytes(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    unsigned nByte = 0;
    const std::string_view pair = text.substr(i, 2);
    const auto [pEnd, error] = std::from_chars(pair.data(), pair.data() + pair.size(), nByte, 16);
    if (error != std::errc() || pair.size() != 2 || pEnd != pair.data() + 2) {
      return std::nullopt;
    }
    bytes += static_cast<char>(nByte);
  }
  return bytes;
}

}  // namespace

std::uint32_t Clause::Whole(std::size_t nIndex) const {
  const double dNumber = At(nIndex);
  if (!std::isfinite(dNumber)) {
    return std::numeric_limits<std::uint32_t>::max();
  }
  const double dKept = std::clamp(dNumber, static_cast<double>(std::numeric_limits<std::int32_t>::min()),
                                  static_cast<double>(std::numeric_limits<std::uint32_t>::max()));
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(dKept));
}

std::uint64_t Clause::Count(std::size_t nIndex) const {
  const double dNumber = At(nIndex);
  return std::isfinite(dNumber) ? static_cast<std::uint64_t>(std::clamp(dNumber, 0.0, LargestExact)) : 0;
}

std::string ToText(const Clause& clause) {
  std::string text = clause.name;
  for (const double dNumber : clause.numbers) {
    text += ' ' + NumberText(dNumber);
  }
  if (!clause.bytes.empty()) {
    text += " :";
    for (const char byte : clause.bytes) {
      const auto nByte = static_cast<unsigned char>(byte);
      text += Digits[nByte / 16];
      text += Digits[nByte % 16];
    }
  }
  return text;
}

std::vector<std::string_view> Words(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t nStart = text.find_first_not_of(' '); nStart != std::string_view::npos;
       nStart = text.find_first_not_of(' ', nStart)) {
    const std::size_t nEnd = std::min(text.find(' ', nStart), text.size());
    words.push_back(text.substr(nStart, nEnd - nStart));
    nStart = nEnd;
  }
  return words;
}

std::optional<Clause> ParseClause(std::string_view text) {
  const std::vector<std::string_view> words = Words(text);
  if (words.empty()) {
    return std::nullopt;
  }
  Clause clause{std::string(words[0]), {}, {}};
  for (std::size_t i = 1; i < words.size(); ++i) {
    if (words[i].starts_with(':')) {
      const std::optional<std::string> bytes = ParseBytes(words[i].substr(1));
      if (!bytes || i + 1 != words.size()) {
        return std::nullopt;
      }
      clause.bytes = *bytes;
      continue;
    }
    const std::optional<double> number = ParseNumber(words[i]);
    if (!number) {
      return std::nullopt;
    }
    clause.numbers.push_back(*number);
  }
  return clause;
}

}  // namespace explorer
