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

TEST(SipperZQ420, AnswersWhatItIsAsked) {
  SipperZQ420 pump({.runTime = 93'784});
  EXPECT_EQ(Ask(pump, 0, ""), "\x02p\x03");  // its announcement
  EXPECT_EQ(Ask(pump, 2 * Second, "p"), "\x02p\x03");
  EXPECT_EQ(Ask(pump, 4 * Second, "d"), "\2d;A12;B3;1.04\3");
  EXPECT_EQ(Ask(pump, 6 * Second, "t"), "\x02t;1;2;3;4\x03");
  EXPECT_EQ(Ask(pump, 8 * Second, "x"), "");
  pump.SwitchPower(10 * Second, false);
  EXPECT_EQ(Ask(pump, 11 * Second, "p"), "");
}

TEST(SipperZQ420, RunsBetweenStartAndStop) {
  SipperZQ420 pump({.runTime = 5});
  Ask(pump, 0, "p");
  EXPECT_EQ(Ask(pump, 2 * Second, "s"), "\x02s\x03");
  EXPECT_TRUE(pump.IsPumping());
  EXPECT_EQ(Ask(pump, 12 * Second, "e"), "\2e\3");
  EXPECT_FALSE(pump.IsPumping());
  EXPECT_EQ(pump.RunTime(), 15u);
  EXPECT_EQ(pump.Cycles(), 1u);
}

}  // namespace
}  // namespace simulator
