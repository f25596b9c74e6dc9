#include <gtest/gtest.h>

#include "simulator/SipperZQ420.h"

namespace simulator {
namespace {

constexpr Time Second = 1'000'000;

/// What the pump says within a second after a command.
std::string Ask(SipperZQ420& pump, Time at, const std::string& text) {
  std::string strOutput;
  pump.Receive(at, "\x02" + text + "\x03");
  for (Time next = pump.NextActivity(); next <= at + Second; next = pump.NextActivity()) {
    strOutput += pump.TakeOutput(next);
  }
  return strOutput;
}

TEST(SipperZQ420, AnswersWhatItIsAskedAndCountsItsRunTime) {
  SipperZQ420 pump({.runTime = 93'784});
  const std::pair<const char*, const char*> dialogue[] = {{"", "\x02p\x03"},  // its announcement
                                                          {"d", "\2d;A12;B3;1.04\3"},
                                                          {"t", "\x02t;1;2;3;4\x03"},
                                                          {"s", "\x02s\x03"},
                                                          {"p", "\x02p\x03"},
                                                          {"e", "\2e\3"},
                                                          {"t", "\x02t;1;2;3;8\x03"},
                                                          {"x", ""}};
  Time at = 0;
  for (const auto& [text, answer] : dialogue) {
    EXPECT_EQ(Ask(pump, at, text), answer) << text;
    at += 2 * Second;
  }
  pump.SwitchPower(at, false);
  EXPECT_EQ(Ask(pump, at, "p"), "");
}

}  // namespace
}  // namespace simulator
