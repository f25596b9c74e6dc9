#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CommandLine.h"
#include "Workplace.h"

namespace host {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(Workplace, CommandsShareOneStartUp) {
  BoardOptions board;
  board.bSimulate = true;
  board.strayLight = 0;
  InstrumentOptions instrument;
  instrument.Check();
  Workplace workplace(board, instrument);
  ASSERT_EQ(workplace.Open(), "");
  std::ostringstream results;
  std::ostringstream messages;
  Interrupt interrupt;
  Console console{results, messages, false, interrupt, &workplace};

  const struct {
    std::vector<std::string> arguments;
    ExitCode code;
    std::string part;
  } cases[] = {
      {{"scan", "--from", "450", "--to", "460", "--sample", "neutral:0.5", "--format", "csv"},
       ExitCode::Success,
       ",0\\.(499|500)"},
      // The holder is emptied in between, the cuvette of the last run does not disturb.
      {{"check", "system"}, ExitCode::Success, "passed"},
      {{"test", "wavelength"}, ExitCode::Success, "passed"},
      {{"measure", "--wavelengths", "525", "--sample", "neutral:0.5"}, ExitCode::Success, " 0\\.(499|500)"},
      {{"measure", "--wavelengths", "525", "--simulate"}, ExitCode::BadInput, ""},
  };
  for (const auto& one : cases) {
    results.str("");
    EXPECT_EQ(RunCommandLine(one.arguments, console), one.code) << messages.str();
    EXPECT_THAT(results.str(), ContainsRegex(one.part));
  }
  const std::string text = messages.str();
  EXPECT_EQ(text.find("start-up\n"), text.rfind("start-up\n")) << text;
  EXPECT_THAT(text, Not(HasSubstr("internal fault")));

  // What a command lacked is measured by the next start-up.
  workplace.BenchFor(console).session.Shutdown();
  results.str("");
  EXPECT_EQ(RunCommandLine({"measure", "--wavelengths", "450", "--sample", "neutral:0.5"}, console), ExitCode::Success);
  EXPECT_THAT(results.str(), ContainsRegex(" 0\\.(499|500)"));
  workplace.EndSession();
  EXPECT_EQ(workplace.Close(console, ExitCode::Success), ExitCode::Success) << messages.str();
}

}  // namespace
}  // namespace host
