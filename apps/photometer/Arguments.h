/// Arguments of a command that belong to no option, as KEY and VALUE. A negative number is one of them, not an option.
#pragma once

#include <deque>
#include <string>

namespace CLI {
class App;
}

namespace host {

enum class Presence { Required, Optional };

class Arguments {
 public:
  /// In their order. The application must outlive it.
  void Add(CLI::App& app, const std::string& name, const std::string& help, Presence presence = Presence::Required);
  /// Takes what was parsed. Throws `CLI::ExtrasError` for an option that there is not, and `CLI::ValidationError` for
  /// too few or too many arguments.
  void Check();
  /// Empty when it was left out.
  [[nodiscard]] const std::string& At(std::size_t nIndex) const { return m_arguments.at(nIndex).text; }

 private:
  struct Argument {
    std::string name;
    Presence presence;
    std::string text;
  };
  void Place(const std::string& word);

  CLI::App* m_pApp = nullptr;
  /// The parser writes into them: they never move.
  std::deque<Argument> m_arguments;
};

/// "-3", "-.5": what stands for a number although it begins as an option.
bool IsNegativeNumber(const std::string& word);

}  // namespace host
