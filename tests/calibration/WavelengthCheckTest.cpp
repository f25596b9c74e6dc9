#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/SelfTestHost.h"
#include "calibration/WavelengthCheck.h"
#include "calibration/WavelengthModel.h"
#include "platform/Platform.h"
#include "simulator/HolmiumFilter.h"

namespace photometer::tests {
namespace {

using Calls = std::vector<std::string>;

constexpr DWORD ID = 9;
const std::vector<double> PEAKS{360.7, 445.0, 537.0};

HRESULT Start(Device& device, const std::vector<double>& peaks) {
  const WavelengthCheckRequest request{ID, peaks};
  return device->StartWavelengthCheck(&request);
}

void RunCheck(Device& device, const std::vector<double>& peaks) {
  ASSERT_EQ(Start(device, peaks), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
}

/// Position at which the filter lets least light through, 2 nm on either side of a nominal peak (nm).
DWORD DarkestPosition(double dNominal) {
  const simulator::WavelengthPolynomial polynomial;
  DWORD dwDarkest = 0;
  double dLeast = std::numeric_limits<double>::max();
  for (DWORD dwPosition = FIRST_POSITION; dwPosition < FIRST_POSITION + POSITIONS_COUNT; ++dwPosition) {
    const double dWavelength = polynomial.At(dwPosition);
    const double dLight = simulator::HolmiumFilter::Transmission(dWavelength);
    if (std::fabs(dWavelength - dNominal) < 2.0 && dLight < dLeast) {
      dLeast = dLight;
      dwDarkest = dwPosition;
    }
  }
  return dwDarkest;
}

void ExpectPeaksFound(const World& world, const std::vector<double>& peaks, int iOffset) {
  const MeasureValues results = world.sink.Results();
  ASSERT_EQ(results.size(), peaks.size());
  for (std::size_t i = 0; i < peaks.size(); ++i) {
    const DWORD dwTrue = DarkestPosition(peaks[i]) + static_cast<DWORD>(iOffset);
    EXPECT_GE(results[i].dWavelength, WavelengthOfPosition(DefaultParameters(), dwTrue - 1)) << peaks[i];
    EXPECT_LE(results[i].dWavelength, WavelengthOfPosition(DefaultParameters(), dwTrue + 1)) << peaks[i];
  }
}

// ---- pure parts ----

TEST(WavelengthCheck, Validation) {
  const double dNaN = std::numeric_limits<double>::quiet_NaN();
  struct {
    BOOL bUV;
    std::vector<double> peaks;
    HRESULT expected;
  } const cases[] = {
      {TRUE, {190.0, 1100.0}, S_OK},
      {TRUE, {189.99}, E_INVALIDARG},
      {TRUE, {500.0, 1100.01}, E_INVALIDARG},
      {FALSE, {330.0, 1100.0}, S_OK},
      {FALSE, {329.99}, E_INVALIDARG},
      {FALSE, {279.4}, E_INVALIDARG},
      {TRUE, {dNaN}, E_INVALIDARG},
      {TRUE, {-std::numeric_limits<double>::infinity()}, E_INVALIDARG},
      {TRUE, {}, S_OK},
  };
  for (const auto& c : cases) {
    PhotometerParameters params = DefaultParameters();
    params.bUV = c.bUV;
    const WavelengthCheckRequest request{ID, c.peaks};
    EXPECT_EQ(ValidateWavelengthCheckRequest(&request, params), c.expected) << testing::PrintToString(c.peaks);
  }
  EXPECT_EQ(ValidateWavelengthCheckRequest(nullptr, DefaultParameters()), E_POINTER);
}

TEST(WavelengthCheck, PeakAnalysis) {
  struct {
    const char* what;
    std::vector<double> absorbances;
    std::size_t nMaximum;
    bool bOnEdge;
  } const cases[] = {
      {"two steps above the nominal one", {0.1, 0.2, 0.3, 0.4, 0.9, 0.4}, 4, false},
      {"first of equal ones", {0.1, 0.9, 0.3, 0.9, 0.1, 0.1}, 1, false},
      {"rises to the end", {-0.5, -0.4, -0.3, -0.2, -0.1, 0.0}, 5, true},
      {"falls from the start", {0.6, 0.5, 0.4, 0.3, 0.2, 0.1}, 0, true},
  };
  for (const auto& c : cases) {
    const PeakAnalysis peak = AnalysePeak(500.2, {500.0, 500.1, 500.2, 500.2, 500.3, 500.4}, c.absorbances);
    EXPECT_EQ(peak.nMaximum, c.nMaximum) << c.what;
    EXPECT_EQ(peak.nNearest, 2U) << c.what;
    EXPECT_EQ(peak.IsOnEdge(6), c.bOnEdge) << c.what;
  }
}

// ---- on the instrument ----

TEST(WavelengthCheck, FindsThePeaksAtAllOffsets) {
  for (int iOffset = -15; iOffset <= 15; ++iOffset) {
    SCOPED_TRACE(iOffset);
    World world(InstrumentWithOffset(iOffset));
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    RunCheck(device, PEAKS);
    ExpectPeaksFound(world, PEAKS, iOffset);
    device.Close();
    world.ExpectClean();
  }
}

TEST(WavelengthCheck, InstrumentWithoutUV) {
  WorldOptions options;
  options.unit.bUV = false;
  World world(options);
  Device device(world);
  ASSERT_TRUE(StartUpOfKind(device, false));
  const std::size_t nCommands = world.Written().size();
  RunCheck(device, PEAKS);
  ExpectPeaksFound(world, PEAKS, 0);
  const Calls written = world.Written();
  EXPECT_EQ(std::count(written.begin() + static_cast<std::ptrdiff_t>(nCommands), written.end(), "$F5"), 3);
  EXPECT_EQ(std::count(written.begin() + static_cast<std::ptrdiff_t>(nCommands), written.end(), "$F6"), 0);
}

TEST(WavelengthCheck, Progress) {
  struct {
    std::size_t nPeaks;
    std::vector<int> progress;
  } const cases[] = {{0, {10}}, {1, {10, 100}}, {3, {10, 40, 70, 100}}, {7, {10, 22, 34, 46, 58, 70, 82, 94}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.nPeaks);
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    const std::size_t nCalls = world.sink.Calls().size();
    const std::size_t nCommands = world.Written().size();
    RunCheck(device, std::vector<double>(c.nPeaks, 453.8));
    Calls expected{"OnNotify(9, 25, 0)", "OnNotify(9, 15, 10)"};
    for (std::size_t i = 1; i <= c.nPeaks; ++i) {
      expected.insert(expected.end(), {"OnNotify(0, 4, 50)", "OnNotify(0, 4, 75)",
                                       "OnNotify(9, 15, " + std::to_string(c.progress.at(i)) + ")"});
    }
    expected.push_back("OnResult(9, " + std::to_string(c.nPeaks) + ")");
    expected.insert(expected.end(), {"OnNotify(0, 4, 100)", "OnNotify(9, 17, 100)"});
    EXPECT_EQ(CallsFrom(world, nCalls), expected);
    EXPECT_EQ(world.Written().size() == nCommands, c.nPeaks == 0) << "without peaks the unit is left alone";
    world.ExpectSwitchedOff();
  }
}

TEST(WavelengthCheck, MaximumAtTheEdge) {
  struct {
    double dNominal;
    /// Of the delivered wavelength from the nominal one, nm.
    double dEdge;
  } const cases[] = {{441.0, 2.0}, {464.0, -2.0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dNominal);
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    RunCheck(device, {c.dNominal, 537.0});
    const MeasureValues results = world.sink.Results();
    ASSERT_EQ(results.size(), 2U);
    EXPECT_NEAR(results[0].dWavelength, c.dNominal + c.dEdge, 0.05);
    EXPECT_EQ(results[0].dValue, 0.0);
    EXPECT_EQ(results[0].dValueRef, 0.0);
    EXPECT_EQ(DebugLines(world, u"found no Peak between range"), 1U);
    EXPECT_EQ(DebugLines(world, u"found measured Peak at"), 1U);
  }
}

TEST(WavelengthCheck, ChangesNothing) {
  World world(InstrumentWithOffset(3));
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  SetOffsetsOfSpectra(world, {12, 12, 12, 3});
  RunCheck(device, PEAKS);
  ExpectPeaksFound(world, PEAKS, 12);
  EXPECT_TRUE(device->GetStatus().bInitialized);
  ASSERT_EQ(device->StartWaveLengthTest(), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_EQ(world.LogLines("set new m_iPositionOffset= 3 (old Position= 3)"), 1U);
}

// ---- cuvette ----

TEST(WavelengthCheck, CuvetteIsRemovedAndThePeakMeasuredAgain) {
  constexpr DWORD PERIOD = 700;  // ms, from one insertion to the next over the run's duration
  std::size_t nAsked = 0;
  for (DWORD dwAfter = 0; dwAfter < 30 * PERIOD; dwAfter += PERIOD) {
    SCOPED_TRACE(dwAfter);
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    const std::size_t nCalls = world.sink.Calls().size();
    world.sink.On("OnNotify(0, 31, 0)", [&] { world.holder.Remove(world.board.Now() + 2 * 1'000'000); });
    world.holder.Insert(10, world.board.Now() + std::uint64_t{dwAfter} * 1000);
    RunCheck(device, PEAKS);
    world.holder.Remove(world.board.Now());
    ExpectPeaksFound(world, PEAKS, 0);
    EXPECT_EQ(EndsFrom(world, nCalls, "9"), Calls{"OnNotify(9, 17, 100)"});
    EXPECT_EQ(world.sink.Count("OnNotify(0, 31, 0)"), world.sink.Count("OnNotify(0, 32, 0)"));
    EXPECT_LE(world.sink.Count("OnNotify(0, 31, 0)"), 1U);
    nAsked += world.sink.Count("OnNotify(0, 31, 0)");
    device.Close();
    world.ExpectClean();
  }
  EXPECT_GT(nAsked, 10U);
}

TEST(WavelengthCheck, HostIsAskedToRemoveTheCuvette) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  world.sink.On("OnNotify(9, 15, 40)", [&] { world.holder.Insert(10, world.board.Now()); });
  world.sink.On("OnNotify(0, 31, 0)", [&] { world.holder.Remove(world.board.Now() + 2 * 1'000'000); });
  RunCheck(device, PEAKS);
  EXPECT_EQ(world.sink.Count("OnNotify(0, 31, 0)"), 1U);
  EXPECT_EQ(world.sink.Count("OnNotify(0, 32, 0)"), 1U);
  ExpectPeaksFound(world, PEAKS, 0);
}

TEST(WavelengthCheck, HostThatDoesNotWaitForTheRemoval) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  world.sink.SkipCuvetteWait();
  world.transcript.Clear();
  device->SetCuvetteSize(10);
  ASSERT_EQ(Start(device, PEAKS), S_OK);
  platform::Sleep(30'000);
  EXPECT_GT(world.sink.Count("QueryCuvetteWait()"), 2U);
  EXPECT_TRUE(device->GetStatus().bBusy);
  device->SetCuvetteSize(0);
  EXPECT_TRUE(device.WaitUntilNotBusy());
  device.Close();
  world.ExpectClean();
}

// ---- cancel and errors ----

TEST(WavelengthCheck, CancelledAnywhereEndsWith18Alone) {
  for (const char* at : {"OnNotify(9, 25, 0)", "OnNotify(9, 15, 10)", "OnNotify(0, 4, 50)", "OnNotify(0, 4, 75)",
                         "OnNotify(9, 15, 70)", "OnNotify(9, 15, 100)", "OnNotify(0, 31, 0)"}) {
    SCOPED_TRACE(at);
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    if (std::string(at) == "OnNotify(0, 31, 0)") {
      world.holder.Insert(10, world.board.Now());
      platform::Sleep(1000);
    }
    const std::size_t nCalls = world.sink.Calls().size();
    world.sink.On(at, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
    RunCheck(device, PEAKS);
    EXPECT_EQ(EndsFrom(world, nCalls, "9"), Calls{"OnNotify(9, 18, 100)"});
    EXPECT_EQ(world.sink.Results().size(), 0U);
    EXPECT_EQ(world.sink.Count("OnNotify(0, 32, 0)"), 0U);
    EXPECT_FALSE(device->GetStatus().bCancel);
    world.ExpectSwitchedOff();
    device.Close();
    world.ExpectClean();
  }
}

TEST(WavelengthCheck, CancelWhileACuvetteWaitsIsSeenSoon) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  world.holder.Insert(10, world.board.Now());
  platform::Sleep(1000);
  ASSERT_EQ(Start(device, PEAKS), S_OK);
  platform::Sleep(60'000);
  EXPECT_EQ(world.sink.Count("OnNotify(0, 31, 0)"), 1U);
  device->CancelMeasurement();
  platform::Sleep(200);
  EXPECT_FALSE(device->GetStatus().bBusy);
  EXPECT_EQ(world.sink.Count("OnNotify(9, 18, 100)"), 1U);
  EXPECT_EQ(world.sink.Count("OnNotify(0, 32, 0)"), 0U);
}

TEST(WavelengthCheck, CancelAfterTheEndWasDecided) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  world.sink.On("OnResult(9, 3)", [&] { device->CancelMeasurement(); });
  RunCheck(device, PEAKS);
  EXPECT_EQ(world.sink.Count("OnNotify(9, 17, 100)"), 1U);
  EXPECT_EQ(world.sink.Count("OnNotify(9, 18, 100)"), 0U);
  RunCheck(device, {537.0});
  EXPECT_EQ(world.sink.Count("OnNotify(9, 17, 100)"), 2U) << "the late cancel does not outlive its run";
}

TEST(WavelengthCheck, CommandErrorEndsIt) {
  struct {
    const char* what;
    simulator::Fault fault;
    int iError;
    const char* command;
  } const cases[] = {
      {"open scan", {simulator::FaultKind::Error, 's', 1}, 154, "Scan"},
      {"filter scan of the second peak", {simulator::FaultKind::Error, 's', 4}, 154, "Scan"},
      {"reading never answered", {simulator::FaultKind::Silence, 'a', 1}, 132, "GetADValue"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    const std::size_t nCalls = world.sink.Calls().size();
    world.unit.WireFaults().Add(c.fault);
    RunCheck(device, PEAKS);
    const std::string error = std::to_string(c.iError);
    EXPECT_EQ(EndsFrom(world, nCalls, "9"), (Calls{"OnError(0, " + error + ")", "OnError(9, " + error + ")"}));
    EXPECT_EQ(ErrorRecords(world, "WavelengthCheck", c.command, c.iError), 1U);
    EXPECT_EQ(world.sink.Results().size(), 0U);
    EXPECT_TRUE(device->GetStatus().bInitialized);
    world.ExpectSwitchedOff();
    device.Close();
    world.ExpectClean();
  }
}

TEST(WavelengthCheck, Refused) {
  World world;
  Device device(world);
  EXPECT_EQ(device->StartWavelengthCheck(nullptr), E_POINTER);
  ASSERT_EQ(device.Initialize(), S_OK);
  EXPECT_EQ(Start(device, PEAKS), E_FAIL) << "during the start-up";
  ASSERT_TRUE(device.WaitUntilNotBusy());
  ASSERT_EQ(Start(device, PEAKS), S_OK);
  EXPECT_EQ(Start(device, PEAKS), E_FAIL) << "while one runs";
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_EQ(Start(device, {1100.01}), E_INVALIDARG);
  world.kernel.threads.Start(1);
  EXPECT_EQ(Start(device, PEAKS), E_FAIL) << "without a thread";
  EXPECT_FALSE(device->GetStatus().bBusy);
}

}  // namespace
}  // namespace photometer::tests
