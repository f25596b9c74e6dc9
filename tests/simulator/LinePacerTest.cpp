#include <gtest/gtest.h>

#include "simulator/LinePacer.h"

namespace simulator {
namespace {

TEST(LinePacer, DoesNotDrift) {
  LinePacer pacer;
  Time now = 0;
  for (int i = 0; i < 11520; ++i) {  // one second of bytes, each handed over when the line becomes free
    pacer.Send(now, "x");
    now = pacer.NextByte();
    ASSERT_EQ(pacer.Take(now), "x");
  }
  EXPECT_EQ(now, 1'000'000u);
}

TEST(LinePacer, QueuesBehindWhatWaitsAndPausesBetweenRuns) {
  LinePacer pacer(9600);
  pacer.Send(0, "ab");
  pacer.Send(1500, "c");  // the line is busy until 2084
  pacer.Send(10'000, "d");
  EXPECT_EQ(pacer.NextByte(), 1042u);
  EXPECT_EQ(pacer.Take(2083), "a");
  EXPECT_TRUE(pacer.HoldsOtherThan("bd"));
  EXPECT_EQ(pacer.Take(3125), "bc");
  EXPECT_FALSE(pacer.HoldsOtherThan("bd"));
  EXPECT_EQ(pacer.NextByte(), 11'042u);
  pacer.Clear();
  EXPECT_EQ(pacer.Take(Never / 1'000'000'000), "");
}

}  // namespace
}  // namespace simulator
