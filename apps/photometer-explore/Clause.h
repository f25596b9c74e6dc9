/// A name with numbers and bytes: how an operation of the host, a fault and a setting are kept, written to a record and
/// read from it.
///
/// Text: `measure 7 340 1 500`; bytes come last, behind a colon, in hexadecimal: `write-optical :24760D`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace explorer {

struct Clause {
  std::string name;
  std::vector<double> numbers;
  std::string bytes;

  bool operator==(const Clause&) const = default;

  /// The number at an index; 0 for one that is not there.
  [[nodiscard]] double At(std::size_t nIndex) const { return nIndex < numbers.size() ? numbers[nIndex] : 0.0; }
  /// The same as a whole number, cut to what fits; negative numbers wrap as in C.
  [[nodiscard]] std::uint32_t Whole(std::size_t nIndex) const;
  /// As a time, a point or a count; never below 0.
  [[nodiscard]] std::uint64_t Count(std::size_t nIndex) const;
  [[nodiscard]] bool Is(std::size_t nIndex) const { return At(nIndex) != 0.0; }
};

std::string ToText(const Clause& clause);
/// Nothing when the text is no clause.
std::optional<Clause> ParseClause(std::string_view text);

/// The parts of a text that blanks separate.
std::vector<std::string_view> Words(std::string_view text);

}  // namespace explorer
