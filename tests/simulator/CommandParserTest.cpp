#include <gtest/gtest.h>

#include "simulator/CommandParser.h"

namespace simulator {
namespace {

std::string Describe(const std::vector<Command>& commands) {
  std::string strText;
  for (const Command& command : commands) {
    strText += command.bValid ? std::string{'[', command.letter} : "[!";
    if (command.argument) strText += std::to_string(*command.argument);
    strText += ']';
  }
  return strText;
}

TEST(CommandParser, SplitsWhatArrives) {
  const std::pair<const char*, const char*> cases[] = {{"$F3\r", "[F3]"},
                                                       {"$M-1000\r", "[M-1000]"},
                                                       {"$z\r$ \r", "[z][ ]"},
                                                       {"\r\n\r\n$g1\r\n$g0\r\n", "[g1][g0]"},
                                                       {"noise\r$g1\r", "[!][g1]"},
                                                       {"noise$g1\r", "[!][g1]"},
                                                       {"$F$g1\r", "[F][g1]"},
                                                       {"$\r", "[!]"},
                                                       {"$F3x\r$F 3\r$S99999999999\r", "[!][!][!]"},
                                                       {"$F000000000000000000000000000000000000000000003\r", "[!]"},
                                                       {"$F3", ""}};
  for (const auto& [bytes, expected] : cases) {
    CommandParser whole;
    EXPECT_EQ(Describe(whole.Take(bytes)), expected) << bytes;
    CommandParser pieces;
    std::vector<Command> commands;
    for (const char* p = bytes; *p != 0; ++p) {
      for (Command& command : pieces.Take({p, 1})) commands.push_back(std::move(command));
    }
    EXPECT_EQ(Describe(commands), expected) << "in single bytes: " << bytes;
  }
}

}  // namespace
}  // namespace simulator
