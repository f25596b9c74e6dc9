#include "simulator/CommandParser.h"

#include <charconv>
#include <utility>

namespace simulator {

namespace {

constexpr std::size_t LongestText = 32;
constexpr std::size_t LongestCommand = 16;

}  // namespace

Command CommandParser::Judge(std::string strText) {
  Command command;
  command.strText = std::move(strText);
  const std::string& text = command.strText;
  if (text.size() < 2 || text.size() > LongestCommand || text[0] != '$') return command;
  command.letter = text[1];
  if (text.size() == 2) {
    command.bValid = true;
    return command;
  }
  int argument = 0;
  const char* pEnd = text.data() + text.size();
  const auto [pStop, error] = std::from_chars(text.data() + 2, pEnd, argument);
  command.bValid = error == std::errc{} && pStop == pEnd;
  if (command.bValid) command.argument = argument;
  return command;
}

std::vector<Command> CommandParser::Take(std::string_view bytes) {
  std::vector<Command> commands;
  const auto Finish = [&] {
    if (!m_strText.empty()) commands.push_back(Judge(std::exchange(m_strText, {})));
  };
  for (const char byte : bytes) {
    if (byte == '\r') {
      Finish();
      continue;
    }
    if (byte == '\n' && m_strText.empty()) continue;
    if (byte == '$') Finish();
    if (m_strText.size() < LongestText) m_strText += byte;
  }
  return commands;
}

}  // namespace simulator
