// When a self-test may start.

#include <functional>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "calibration/SelfTestBench.h"

namespace photometer::tests {
namespace {

template <class Request>
std::function<HRESULT(Device&)> Starting(HRESULT (IPhotometer::*pStart)(const Request*), const Request& request) {
  return [=](Device& device) { return (device.operator->()->*pStart)(&request); };
}

TEST(SelfTests, StartsAreRefused) {
  using P = IPhotometer;
  /// Each with its answer before Initialize, when no wavelength can be measured.
  const std::pair<std::function<HRESULT(Device&)>, HRESULT> starts[] = {
      {[](Device& device) { return device->StartWaveLengthTest(); }, E_FAIL},
      {Starting(&P::StartWavelengthCheck, WavelengthCheckRequest{9, {537.0}}), E_INVALIDARG},
      {Starting(&P::StartHolmiumOxideScan, HolmiumOxideScanRequest{9, 6000, 6040}), E_FAIL},
      {Starting(&P::StartSystemCheck, SystemCheckRequest{9, 360.7, 0.0}), E_FAIL},
  };
  int iStart = 0;
  for (const auto& [start, before] : starts) {
    SCOPED_TRACE(iStart++);
    Bench bench;
    EXPECT_EQ(start(bench.device), before) << "before Initialize";
    ASSERT_EQ(bench.device.Initialize(), S_OK);
    EXPECT_EQ(start(bench.device), E_FAIL) << "during the start-up";
    ASSERT_TRUE(bench.device.WaitUntilNotBusy());
    bench.world.kernel.threads.Start(1);
    EXPECT_EQ(start(bench.device), E_FAIL) << "without a thread";
    EXPECT_FALSE(bench.device->GetStatus().bBusy);
    EXPECT_TRUE(bench.IsInitialized());
    EXPECT_EQ(start(bench.device), S_OK);
    EXPECT_EQ(start(bench.device), E_FAIL) << "while one runs";
    EXPECT_TRUE(bench.device.WaitUntilNotBusy());
    bench.device->Shutdown();
    EXPECT_EQ(start(bench.device), E_FAIL) << "after Shutdown";
  }
}

TEST(SelfTests, UnsoundRequestsAreRefused) {
  StartedBench bench;
  const WavelengthCheckRequest tooLong{9, {537.0, 1100.01}};
  const SystemCheckRequest notANumber{9, std::numeric_limits<double>::quiet_NaN(), 0.0};
  EXPECT_EQ(bench.device->StartWavelengthCheck(&tooLong), E_INVALIDARG);
  EXPECT_EQ(bench.device->StartSystemCheck(&notANumber), E_INVALIDARG);
  EXPECT_EQ(bench.device->StartWavelengthCheck(nullptr), E_POINTER);
  EXPECT_EQ(bench.device->StartHolmiumOxideScan(nullptr), E_POINTER);
  EXPECT_EQ(bench.device->StartSystemCheck(nullptr), E_POINTER);
}

}  // namespace
}  // namespace photometer::tests
