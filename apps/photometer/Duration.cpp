#include "Duration.h"

#include <charconv>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace host {

namespace {

using photometer::DWORD;

constexpr DWORD Minute = 60;
constexpr DWORD Hour = 60 * Minute;
constexpr DWORD Week = 7 * 24 * Hour;

std::string Shortest(DWORD dwSeconds) {
  if (dwSeconds == 0 || dwSeconds % Minute != 0) {
    return fmt::format("{}s", dwSeconds);
  }
  return dwSeconds % Hour == 0 ? fmt::format("{}h", dwSeconds / Hour) : fmt::format("{}min", dwSeconds / Minute);
}

/// `Value`: a time, or one that need not be given.
template <typename Value>
CLI::Option* AddOption(CLI::App& app, const std::string& name, Value& value, DWORD dwLowest, DWORD dwHighest,
                       DWORD dwUnit, const std::string& help) {
  const auto take = [name, &value, dwLowest, dwHighest, dwUnit](const std::string& text) {
    const std::optional<DWORD> duration = ParseDuration(text);
    if (!duration || *duration < dwLowest || *duration > dwHighest || *duration % dwUnit != 0) {
      throw CLI::ValidationError(name, fmt::format("\"{}\" cannot be used; give {} from {} to {}, as 30s, 5min or 2h",
                                                   text, dwUnit == Minute ? "whole minutes" : "whole seconds",
                                                   Shortest(dwLowest), Shortest(dwHighest)));
    }
    value = *duration;
  };
  return app.add_option_function<std::string>(name, take, help)->type_name("TIME");
}

}  // namespace

std::optional<DWORD> ParseDuration(std::string_view text) {
  DWORD dwCount = 0;
  const char* pEnd = text.data() + text.size();
  const auto [pUnit, error] = std::from_chars(text.data(), pEnd, dwCount);
  const std::string_view unit(pUnit, static_cast<std::size_t>(pEnd - pUnit));
  const DWORD dwFactor = unit == "s" ? 1 : unit == "min" ? Minute : unit == "h" ? Hour : 0;
  if (error != std::errc() || dwFactor == 0 || dwCount > Week / dwFactor) {
    return std::nullopt;
  }
  return dwCount * dwFactor;
}

std::string FormatDuration(DWORD dwSeconds) {
  if (dwSeconds < Minute) {
    return fmt::format("{} s", dwSeconds);
  }
  if (dwSeconds < Hour) {
    return fmt::format("{} min {} s", dwSeconds / Minute, dwSeconds % Minute);
  }
  return fmt::format("{} h {} min", dwSeconds / Hour, dwSeconds % Hour / Minute);
}

void AddDurationOption(CLI::App& app, const std::string& name, DWORD& dwSeconds, DWORD dwLowest, DWORD dwHighest,
                       DWORD dwUnit, const std::string& help) {
  AddOption(app, name, dwSeconds, dwLowest, dwHighest, dwUnit, help)->default_str(Shortest(dwSeconds));
}

void AddDurationOption(CLI::App& app, const std::string& name, std::optional<DWORD>& dwSeconds, DWORD dwLowest,
                       DWORD dwHighest, DWORD dwUnit, const std::string& help) {
  AddOption(app, name, dwSeconds, dwLowest, dwHighest, dwUnit, help);
}

}  // namespace host
