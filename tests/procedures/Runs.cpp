#include "Runs.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <gtest/gtest.h>

#include "platform/Platform.h"

namespace photometer::tests {

namespace {

using platform::FormatText;
using platform::Sleep;

/// By which two noisy values may differ, as a share of them.
constexpr double NOISE = 0.02;
/// On top of it for a turbidity, counts: five standard deviations.
constexpr double TURBIDITY_NOISE = 40.0;

}  // namespace

Start ThenCancel(const Start& start, DWORD dwMilliseconds) {
  return [=](IPhotometer& photometer) {
    const HRESULT result = start(photometer);
    Sleep(dwMilliseconds);
    EXPECT_EQ(photometer.CancelMeasurement(), S_OK);
    return result;
  };
}

WorldOptions Scheduled(platform::Policy policy, std::uint64_t nSeed) {
  WorldOptions options;
  options.board.seed = nSeed;
  options.board.policy = policy;
  return options;
}

ReadyDevice::ReadyDevice(const WorldOptions& options) : world(options), m_Device(world) { StartUp(); }

ReadyDevice::~ReadyDevice() {
  m_Device.Close();
  world.ExpectClean();
}

void ReadyDevice::StartUp() {
  PhotometerParameters params = DefaultParameters();
  params.bUV = world.unit.Settings().bUV ? TRUE : FALSE;
  const CalibrationData calibration = DefaultCalibration();
  EXPECT_EQ(m_Device->Initialize(&params, &calibration), S_OK);
  EXPECT_TRUE(m_Device.WaitUntilNotBusy());
  EXPECT_TRUE(m_Device->GetStatus().bInitialized);
}

MeasureValues ReadyDevice::Run(const Start& start) {
  world.transcript.Clear();
  const std::size_t nBefore = world.sink.Results().size();
  EXPECT_EQ(start(*m_Device.operator->()), S_OK);
  EXPECT_TRUE(m_Device.WaitUntilNotBusy());
  EXPECT_FALSE(m_Device->GetStatus().bCancel);
  const MeasureValues values = world.sink.Results();
  return {values.begin() + static_cast<std::ptrdiff_t>(nBefore), values.end()};
}

void ReadyDevice::ExpectFailure(const Start& start, const Failure& failure) {
  world.unit.WireFaults().Add(failure.fault);
  EXPECT_EQ(Run(start).size(), failure.nValues);
  const std::string strNumber = std::to_string(failure.iResult);
  EXPECT_EQ(Calls().front(), "OnNotify(9, 25, 0)");
  EXPECT_EQ(Calls().back(), "OnError(0, " + strNumber + ")");
  EXPECT_EQ(Notified(FINISHED) + Notified(CANCELLED), 0U);
  const Texts log = Log();
  EXPECT_EQ(std::ranges::count(log, failure.strRecord + " returned " + strNumber), 1);
  const Texts written = world.Written();
  EXPECT_EQ(Texts(written.end() - 4, written.end()), (Texts{"$r0", "$d0", "$h0", "$f0"}));
  world.ExpectSwitchedOff();
  world.unit.WireFaults().Clear();
  EXPECT_GT(Run(start).size(), failure.nValues);
  EXPECT_EQ(Notified(FINISHED), 1U);
}

void ReadyDevice::AtValue(std::size_t n, std::function<void()> action) {
  const std::size_t nWanted = world.sink.Results().size() + n;
  world.sink.On("OnResult", [this, nWanted, bDone = std::make_shared<bool>(false), action = std::move(action)] {
    if (!*bDone && world.sink.Results().size() >= nWanted) {
      *bDone = true;
      action();
    }
  });
}

void ReadyDevice::Restart() {
  EXPECT_EQ(m_Device->Shutdown(), S_OK);
  StartUp();
}

std::size_t ReadyDevice::Notified(DWORD dwCode) const {
  return world.sink.Count(FormatText(100, "OnNotify(%u, %u, 100)", RUN_ID, dwCode));
}

Texts ReadyDevice::Calls(const std::string& prefix) const {
  Texts calls = world.sink.Calls();
  std::erase_if(calls, [&](const std::string& call) { return !call.starts_with(prefix); });
  return calls;
}

Texts ReadyDevice::Log(const std::string& prefix) const {
  constexpr std::string_view AFTER_TIME = "|  ";
  Texts lines;
  for (const std::string& line : world.transcript.Texts("log")) {
    const std::size_t nText = line.find(AFTER_TIME);
    if (nText != std::string::npos && line.substr(nText + AFTER_TIME.size()).starts_with(prefix)) {
      lines.push_back(line.substr(nText + AFTER_TIME.size()));
    }
  }
  return lines;
}

void ExpectSameValues(const MeasureValues& actual, const MeasureValues& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    const MeasureValue& a = actual[i];
    const MeasureValue& e = expected[i];
    ASSERT_EQ(a.dwTag, e.dwTag) << i;
    ASSERT_EQ(a.dwPosition, e.dwPosition) << i;
    ASSERT_EQ(a.dWavelength, e.dWavelength) << i;
    ASSERT_EQ(a.iCuvetteSize, e.iCuvetteSize) << i;
    // The lamp's brightness depends on when it was lit; the ratio of the channels does not.
    const double dRatio = e.dValue / e.dValueRef;
    ASSERT_NEAR(a.dValue / a.dValueRef, dRatio, NOISE * dRatio) << i;
    ASSERT_NEAR(a.dTurbidity, e.dTurbidity, e.dTurbidity > 0.0 ? TURBIDITY_NOISE + NOISE * e.dTurbidity : 0.0) << i;
  }
}

}  // namespace photometer::tests
