#include <gtest/gtest.h>

#include "simulator/SipperZQ410.h"

namespace simulator {
namespace {

constexpr Time Second = 1'000'000;

/// All that comes out up to a time.
std::string RunUntil(SerialDevice& device, Time until) {
  std::string strOutput;
  for (Time next = device.NextActivity(); next <= until; next = device.NextActivity()) {
    strOutput += device.TakeOutput(next);
  }
  return strOutput;
}

TEST(SipperZQ410, AnnouncesItself) {
  SipperZQ410 pump;
  EXPECT_EQ(RunUntil(pump, Second / 2), "VELTRANOMETRIK ZQ-410\r\nV01.07");
  EXPECT_EQ(RunUntil(pump, 3 * Second + 10'000), "\x02y;a\x03\x02y;a\x03\x02y;a\x03");
  pump.Receive(4 * Second, "noise\x02Y;a\x03");
  EXPECT_EQ(pump.AnsweredKeepAlives(), 1u);
  pump.StopKeepAlive(5 * Second);
  EXPECT_EQ(RunUntil(pump, 20 * Second), "\x02y;a\x03\x02y;a\x03");
  EXPECT_EQ(pump.NextActivity(), Never);
}

TEST(SipperZQ410, Commands) {
  constexpr FaultKind None = FaultKind::SurplusPoints;
  const std::tuple<std::string, FaultKind, Time, const char*> cases[] = {
      {"\x02H;003;120\x03", None, 10'000, "\x02h;\x03"},
      {"\x02V;a\x03", None, 20'000, "\x02v;ZQ410;01.07\x03"},
      {"\x02H1;a\x03", None, 5 * Second + 10'000, "\x02h1;b\x03"},
      {"\x02H2;a\x03", None, 5 * Second + 10'000, "\x02h2;b\x03"},
      {"\x02H1;a\x03", FaultKind::Error, 5 * Second + 10'000, "\x02h3;a\x03"},
      {"\x02H1;a\x03", FaultKind::Silence, 60 * Second, ""},
      {"\x02Q;a\x03", None, 60 * Second, ""},
  };
  for (const auto& [command, fault, after, answer] : cases) {
    SCOPED_TRACE(command);
    SipperZQ410 pump;
    pump.StopKeepAlive(0);
    RunUntil(pump, Second);
    pump.Line().Faults().Add({.kind = fault});
    pump.Receive(Second, command.substr(0, 3));
    pump.Receive(Second, command.substr(3));
    EXPECT_EQ(RunUntil(pump, Second + (after > 5 * Second ? 5 * Second : 5'000)), "");
    EXPECT_EQ(RunUntil(pump, Second + after), answer);
  }
}

TEST(SipperZQ410, ParametersSetTheCycleTime) {
  SipperZQ410 pump;
  pump.StopKeepAlive(0);
  pump.Receive(Second, "\x02H;012;345\x03");
  EXPECT_EQ(pump.PumpTime(), 12u);
  EXPECT_EQ(pump.SecondParameter(), 345u);
  RunUntil(pump, 2 * Second);
  pump.PressKeyA(2 * Second);
  pump.PressKeyB(2 * Second);
  EXPECT_EQ(RunUntil(pump, 13 * Second), "\x02h1;a\x03");
  EXPECT_EQ(RunUntil(pump, 15 * Second), "\x02h1;b\x03");
}

TEST(SipperZQ410, SaysNothingInTheMiddleOfAFrame) {
  SipperZQ410 pump({.pumpTime = 1});
  pump.Line().Faults().Add({.kind = FaultKind::Split, .letter = '1', .delay = 3 * Second / 2, .count = 2});
  RunUntil(pump, Second / 2);
  pump.Receive(Second / 2, "\x02H1;a\x03");
  EXPECT_EQ(RunUntil(pump, 7 * Second / 2), "\x02y;a\x03\x02h1;b\x03\x02y;a\x03\x02y;a\x03");
}

}  // namespace
}  // namespace simulator
