#include "ExplainCommand.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "ErrorTexts.h"
#include "ListingFormat.h"
#include "ResultHeader.h"

namespace host {

namespace {

/// The callbacks and the records give numbers without a sign: 4294967293 is −3.
std::optional<LONG> ParseNumber(const std::string& text) {
  std::int64_t nNumber = 0;
  const char* pEnd = text.data() + text.size();
  const auto [pStop, error] = std::from_chars(text.data(), pEnd, nNumber);
  const bool bFits =
      nNumber >= std::numeric_limits<LONG>::min() && nNumber <= std::numeric_limits<std::uint32_t>::max();
  return error == std::errc() && pStop == pEnd && bFits ? std::optional(static_cast<LONG>(nNumber)) : std::nullopt;
}

nlohmann::ordered_json ToJson(LONG iNumber, const ErrorText& text) {
  return {{"number", iNumber}, {"operation", text.operation}, {"cause", text.cause}, {"advice", text.advice}};
}

std::string ToText(LONG iNumber, const ErrorText& text) {
  return fmt::format("error {}\n  operation: {}\n  cause:     {}\n  do:        {}\n", iNumber, text.operation,
                     text.cause, text.advice);
}

}  // namespace

void ExplainCommand::AddOptions(CLI::App& app) {
  m_arguments.Add(app, "NUMBER", "The number; without one all are listed", Presence::Optional);
  AddListingFormat(app, m_bJson);
}

void ExplainCommand::Check() {
  m_arguments.Check();
  if (m_arguments.At(0).empty()) {
    m_numbers = ErrorNumbers();
    return;
  }
  const std::string word = m_arguments.At(0);
  const std::optional<LONG> number = ParseNumber(word);
  if (!number) {
    throw CLI::ValidationError(fmt::format("\"{}\" is no error number; give a whole number, as 132 or -3", word));
  }
  if (!FindErrorText(*number)) {
    throw CLI::ValidationError(
        fmt::format("no operation of the instrument has the error number {}; without a number, all are listed", word));
  }
  m_numbers = {*number};
}

ExitCode ExplainCommand::Run(Console& console) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const LONG iNumber : m_numbers) {
    const ErrorText text = *FindErrorText(iNumber);
    list.push_back(ToJson(iNumber, text));
    if (m_bJson) {
      continue;
    }
    console.results << (!m_arguments.At(0).empty() ? ToText(iNumber, text) : ExplainError(iNumber) + "\n");
  }
  if (m_bJson) {
    console.results << JsonText(list);
  }
  return ExitCode::Success;
}

}  // namespace host
