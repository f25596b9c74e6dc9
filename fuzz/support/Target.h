/// A fuzz target: a name and a check that takes any bytes. Each source of a room makes one, and says in its first lines
/// what the input is and which properties it checks.
///
/// A check gives back all that it makes and keeps nothing: the same bytes always do the same.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

class Target {
 public:
  using Check = void (*)(std::string_view input);

  /// Enters the target in the list of all.
  Target(const char* name, Check check);
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  [[nodiscard]] const std::string& Name() const { return m_strName; }
  void Run(std::string_view input) const { m_Check(input); }

  /// Those of the program, in no order.
  static const std::vector<const Target*>& All();

 private:
  std::string m_strName;
  Check m_Check;
};

/// Ends the process with the property as message unless it holds.
void Require(bool bHolds, std::string_view property);
/// The same for two values that must be equal, with both in the message.
void RequireEqual(std::string_view found, std::string_view expected, std::string_view property);

/// A message to a person: it says something, names the place (a file, an option), and is one that somebody would read
/// (at most 64 KiB).
void RequireMessage(std::string_view message, std::string_view place);
/// A text that a terminal can show, whatever file it quotes: no control characters but line ends and tabs.
void RequirePrintable(std::string_view text);

}  // namespace fuzz
