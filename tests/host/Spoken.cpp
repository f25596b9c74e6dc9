#include "host/Spoken.h"

#include <sstream>

#include "CommandLine.h"

namespace host {

namespace {

/// Messages that a person reads.
class Person final : public std::stringbuf {
 public:
  Person(std::string words, Interrupt& interrupt) : m_strWords(std::move(words)), m_interrupt(interrupt) {}

 private:
  int sync() override {
    if (!m_strWords.empty() && str().find(m_strWords) != std::string::npos) {
      m_strWords.clear();
      m_interrupt.Raise();
    }
    return 0;
  }

  std::string m_strWords;
  Interrupt& m_interrupt;
};

class Typed final : public Input {
 public:
  explicit Typed(std::vector<std::string> texts) : m_texts(std::move(texts)) {}
  std::optional<std::string> Read(int /*iMilliseconds*/) override {
    if (m_iReads++ % 20 != 0) {
      return std::string();
    }
    const std::size_t nText = m_nNext++;
    return nText < m_texts.size() ? std::optional(m_texts[nText]) : std::nullopt;
  }

 private:
  std::vector<std::string> m_texts;
  std::size_t m_nNext = 0;
  int m_iReads = 0;
};

}  // namespace

Spoken Speak(const Words& arguments, const Company& company) {
  std::ostringstream results;
  Interrupt interrupt;
  Person person(company.strInterruptAt, interrupt);
  std::ostream messages(&person);
  Typed typed(company.typed);
  Console console{results, messages, false, interrupt, nullptr, &typed};
  const ExitCode code = RunCommandLine(arguments, console);
  return {code, results.str(), person.str()};
}

Spoken Simulate(const Words& arguments, const Company& company) {
  return Speak(Joined(arguments, {"--simulate"}), company);
}

Spoken SimulateJson(const Words& arguments, const Company& company) {
  return Simulate(Joined(arguments, {"--format", "json"}), company);
}

Words Joined(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

}  // namespace host
