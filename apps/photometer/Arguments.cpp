#include "Arguments.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace host {

bool IsNegativeNumber(const std::string& word) {
  const std::size_t nDigit = word.find_first_not_of('.', 1);
  return word.starts_with('-') && nDigit < word.size() && word[nDigit] >= '0' && word[nDigit] <= '9';
}

void Arguments::Add(CLI::App& app, const std::string& name, const std::string& help, Presence presence) {
  m_pApp = &app;
  Argument& argument = m_arguments.emplace_back(Argument{name, presence, {}});
  app.add_option(name, argument.text, help)->type_name("");
  // The parser takes "-3" for an option that there is not.
  app.allow_extras();
}

void Arguments::Check() {
  for (const std::string& word : m_pApp->remaining()) {
    if (word.starts_with('-') && word.size() > 1 && !IsNegativeNumber(word)) {
      throw CLI::ExtrasError({word});
    }
    Place(word);
  }
  for (const Argument& argument : m_arguments) {
    if (argument.presence == Presence::Required && m_pApp->get_option(argument.name)->count() == 0 &&
        argument.text.empty()) {
      throw CLI::ValidationError(argument.name, "is missing; --help tells what it is");
    }
  }
}

void Arguments::Place(const std::string& word) {
  const auto free = std::find_if(m_arguments.begin(), m_arguments.end(), [this](const Argument& argument) {
    return argument.text.empty() && m_pApp->get_option(argument.name)->count() == 0;
  });
  if (free == m_arguments.end()) {
    throw CLI::ValidationError(fmt::format("\"{}\" is one word too many", word));
  }
  free->text = word;
}

}  // namespace host
