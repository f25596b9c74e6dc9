#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "simulator/CuvetteHolder.h"
#include "simulator/Instrument.h"

namespace simulator {
namespace {

std::string Pins(CuvetteHolder& holder, Time now) {
  std::string strLevels;
  for (const std::uint32_t dwPin : {10U, 11U, 12U}) strLevels += std::to_string(holder.ReadPin(now, dwPin));
  return strLevels;
}

TEST(CuvetteHolder, BouncesTheSameWayForTheSameSeed) {
  const auto Watch = [](std::uint64_t seed) {
    CuvetteHolder holder({.seed = seed, .bounceMilliseconds = 20});
    holder.Insert(14, 100'000);
    std::string strPatterns;
    for (Time now = 90'000; now < 130'000; now += 500) strPatterns += Pins(holder, now) + " ";
    return strPatterns;
  };
  const std::string strSeen = Watch(1);
  EXPECT_EQ(strSeen, Watch(1));
  EXPECT_NE(strSeen, Watch(2));
  const std::size_t nFirst = strSeen.find("010");
  EXPECT_EQ(strSeen.find('1'), nFirst + 1) << "only the switch that moves chatters";
  EXPECT_NE(strSeen.find("000", nFirst), std::string::npos);
  EXPECT_GE(nFirst / 4, 20u);
  EXPECT_EQ(strSeen.substr(60 * 4, 4), "010 ") << "settled after the bounce time";
}

TEST(Instrument, PutsCuvetteAndSampleInTogether) {
  Instrument instrument;
  instrument.InsertCuvette(10, Sample::NeutralGlass(1.0), 1000);
  instrument.RemoveCuvette(5000);
  for (const auto& [now, iSize, absorbance] : {std::tuple(Time{999}, 0, 0.0), {1000, 10, 0.9996}, {5000, 0, 0.0}}) {
    EXPECT_EQ(instrument.holder.Size(now), iSize) << now;
    EXPECT_NEAR(instrument.unit.ApparentAbsorbance(500, now), absorbance, 1e-4) << now;
  }
}

}  // namespace
}  // namespace simulator
