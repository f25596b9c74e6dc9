#include <string>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/Turbidity.h"

namespace photometer::tests {
namespace {

using simulator::Sample;

const Start TURBIDITY = StartOf(TurbidityRequest{RUN_ID, 31, 32});

TEST(Turbidity, SetsAndReadsInThisOrder) {
  ReadyDevice device;
  device->SetCuvetteSize(24);
  const MeasureValues values = device.Run(TURBIDITY);
  Texts written = device.world.Written();
  std::erase(written, "$A9");  // the start-up leaves the converter's speed so, or not
  EXPECT_EQ(written, (Texts{"$H1", "$T1", "$G0", "$t", "$T3", "$G1", "$t", "$H0"}));
  EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnResult(9, 2)", "OnNotify(9, 17, 100)"}));
  ASSERT_EQ(values.size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(values[i].dwTag, 31 + i);
    EXPECT_EQ(values[i].dwPosition, 0U);
    EXPECT_EQ(values[i].dWavelength, 860.0);
    EXPECT_EQ(values[i].dValue, 1.0);
    EXPECT_EQ(values[i].dValueRef, 1.0);
    EXPECT_EQ(values[i].iCuvetteSize, 0);
  }
  EXPECT_EQ(device.world.unit.State().turbidityPower, 3) << "it stays so";
}

TEST(Turbidity, IsTheSamples) {
  ReadyDevice device;
  for (const double dNtu : {0.0, 1.0, 10.0, 100.0, 500.0}) {
    device.world.unit.SetSample(Sample::Blank().WithTurbidity(dNtu), device.world.board.Now());
    const MeasureValues values = device.Run(TURBIDITY);
    ASSERT_EQ(values.size(), 2U);
    const double dLow = 200.0 + 400.0 * dNtu;
    EXPECT_NEAR(values[0].dTurbidity, dLow, 40.0 + 0.002 * dLow) << dNtu;
    EXPECT_NEAR(values[1].dTurbidity, 72.0 * dLow, 40.0 + 0.002 * 72.0 * dLow) << dNtu;
  }
}

}  // namespace
}  // namespace photometer::tests
