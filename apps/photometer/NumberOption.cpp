#include "NumberOption.h"

#include <charconv>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace host {

namespace {

template <typename Number>
bool Parse(const std::string& text, Number& value) {
  const char* pEnd = text.data() + text.size();
  const auto [pStop, error] = std::from_chars(text.data(), pEnd, value);
  return error == std::errc() && pStop == pEnd;
}

template <typename Number>
void AddOption(CLI::App& app, const std::string& name, Number& value, Number lowest, Number highest,
               const std::string& help, const char* kind) {
  const auto take = [name, &value, lowest, highest, kind](const std::string& text) {
    Number number{};
    // Written so that NaN is refused.
    if (!Parse(text, number) || !(number >= lowest && number <= highest)) {
      throw CLI::ValidationError(
          name, fmt::format("\"{}\" cannot be used; give {} from {} to {}", text, kind, lowest, highest));
    }
    value = number;
  };
  app.add_option_function<std::string>(name, take, help)
      ->type_name(fmt::format("{}..{}", lowest, highest))
      ->default_str(fmt::format("{}", value));
}

constexpr const char* WholeNumber = "a whole number";

}  // namespace

void AddIntegerOption(CLI::App& app, const std::string& name, std::uint64_t& value, std::uint64_t lowest,
                      std::uint64_t highest, const std::string& help) {
  AddOption(app, name, value, lowest, highest, help, WholeNumber);
}

void AddIntegerOption(CLI::App& app, const std::string& name, photometer::DWORD& value, photometer::DWORD lowest,
                      photometer::DWORD highest, const std::string& help) {
  AddOption(app, name, value, lowest, highest, help, WholeNumber);
}

void AddIntegerOption(CLI::App& app, const std::string& name, int& value, int lowest, int highest,
                      const std::string& help) {
  AddOption(app, name, value, lowest, highest, help, WholeNumber);
}

void AddRealOption(CLI::App& app, const std::string& name, double& value, double lowest, double highest,
                   const std::string& help) {
  AddOption(app, name, value, lowest, highest, help, "a number");
}

}  // namespace host
