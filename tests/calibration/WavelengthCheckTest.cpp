#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/SelfTestBench.h"
#include "calibration/WavelengthCheck.h"
#include "calibration/WavelengthModel.h"
#include "platform/Platform.h"
#include "simulator/HolmiumFilter.h"

namespace photometer::tests {
namespace {

constexpr DWORD ID = 9;
const std::vector<double> PEAKS{360.7, 445.0, 537.0};

HRESULT Start(Bench& bench, const std::vector<double>& peaks = PEAKS) {
  const WavelengthCheckRequest request{ID, peaks};
  return bench.device->StartWavelengthCheck(&request);
}

void RunCheck(Bench& bench, const std::vector<double>& peaks = PEAKS) {
  bench.Forget();
  ASSERT_EQ(Start(bench, peaks), S_OK);
  ASSERT_TRUE(bench.device.WaitUntilNotBusy());
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

void ExpectPeaksFound(const Bench& bench, int iOffset = 0) {
  const MeasureValues results = bench.world.sink.Results();
  ASSERT_EQ(results.size(), PEAKS.size());
  for (std::size_t i = 0; i < PEAKS.size(); ++i) {
    const DWORD dwTrue = DarkestPosition(PEAKS[i]) + static_cast<DWORD>(iOffset);
    EXPECT_GE(results[i].dWavelength, WavelengthOfPosition(DefaultParameters(), dwTrue - 1)) << PEAKS[i];
    EXPECT_LE(results[i].dWavelength, WavelengthOfPosition(DefaultParameters(), dwTrue + 1)) << PEAKS[i];
  }
}

// ---- pure parts ----

TEST(WavelengthCheck, Validation) {
  struct {
    BOOL bUV;
    std::vector<double> peaks;
    HRESULT expected;
  } const cases[] = {
      {TRUE, {190.0, 1100.0}, S_OK}, {TRUE, {189.99}, E_INVALIDARG},  {TRUE, {500.0, 1100.01}, E_INVALIDARG},
      {FALSE, {330.0}, S_OK},        {FALSE, {329.99}, E_INVALIDARG}, {TRUE, {std::nan("")}, E_INVALIDARG},
  };
  for (const auto& c : cases) {
    PhotometerParameters params = DefaultParameters();
    params.bUV = c.bUV;
    const WavelengthCheckRequest request{ID, c.peaks};
    EXPECT_EQ(ValidateWavelengthCheckRequest(&request, params), c.expected) << testing::PrintToString(c.peaks);
  }
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

TEST(WavelengthCheck, FindsThePeaksAtAllOffsetsAndChangesNothing) {
  for (int iOffset = -15; iOffset <= 15; iOffset += 3) {
    const bool bUV = iOffset % 2 == 0;
    SCOPED_TRACE(testing::Message() << iOffset << (bUV ? "" : ", without UV"));
    StartedBench bench({.bUV = bUV, .positionOffset = 3});
    bench.SetOffsetsOfSpectra({iOffset, iOffset, iOffset, 3});
    RunCheck(bench);
    ExpectPeaksFound(bench, iOffset);
    EXPECT_EQ(bench.Commands(bUV ? "$F6" : "$F5"), 3);
    EXPECT_EQ(bench.Commands(bUV ? "$F5" : "$F6"), 0);
    EXPECT_TRUE(bench.IsInitialized());
    ASSERT_EQ(bench.device->StartWaveLengthTest(), S_OK);
    ASSERT_TRUE(bench.device.WaitUntilNotBusy());
    EXPECT_EQ(bench.world.LogLines("set new m_iPositionOffset= 3 (old Position= 3)"), 1U);
  }
}

TEST(WavelengthCheck, Progress) {
  const std::pair<std::size_t, const char*> cases[] = {
      {0, "9:15/10 OnResult(9, 0)"},
      {3, "9:15/10 4/50 4/75 9:15/40 4/50 4/75 9:15/70 4/50 4/75 9:15/100 OnResult(9, 3)"},
      {7,
       "9:15/10 4/50 4/75 9:15/22 4/50 4/75 9:15/34 4/50 4/75 9:15/46 4/50 4/75 9:15/58 4/50 4/75 9:15/70 4/50 4/75 "
       "9:15/82 4/50 4/75 9:15/94 OnResult(9, 7)"},
  };
  for (const auto& [nPeaks, calls] : cases) {
    StartedBench bench;
    RunCheck(bench, std::vector<double>(nPeaks, 453.8));
    EXPECT_EQ(bench.Calls(), std::string("9:25/0 ") + calls + " 4/100 9:17/100");
    EXPECT_EQ(bench.world.Written().empty(), nPeaks == 0) << "without peaks the unit is left alone";
  }
}

TEST(WavelengthCheck, MaximumAtTheEdge) {
  for (const auto& [dNominal, dEdge] : {std::pair{441.0, 443.0}, std::pair{464.0, 462.0}}) {
    StartedBench bench;
    RunCheck(bench, {dNominal, 537.0});
    const MeasureValues results = bench.world.sink.Results();
    ASSERT_EQ(results.size(), 2U);
    EXPECT_NEAR(results[0].dWavelength, dEdge, 0.05);
    EXPECT_EQ(results[0].dValue, 0.0);
    EXPECT_EQ(results[0].dValueRef, 0.0);
    EXPECT_EQ(DebugLines(bench.world, u"found no Peak between range"), 1U);
    EXPECT_EQ(DebugLines(bench.world, u"found measured Peak at"), 1U);
  }
}

// ---- cuvette ----

TEST(WavelengthCheck, CuvetteIsRemovedAndThePeakMeasuredAgain) {
  constexpr std::uint64_t PERIOD = 700'000;  // µs, from one insertion to the next over the run's duration
  std::size_t nAsked = 0;
  for (std::uint64_t n = 0; n < 30; ++n) {
    SCOPED_TRACE(n);
    StartedBench bench;
    bench.RemoveAfter("31/0");
    bench.world.holder.Insert(10, bench.world.board.Now() + n * PERIOD);
    RunCheck(bench);
    bench.world.holder.Remove(bench.world.board.Now());
    ExpectPeaksFound(bench);
    EXPECT_EQ(bench.Ends(), "9:17/100");
    EXPECT_EQ(bench.Count("31/0"), bench.Count("32/0"));
    EXPECT_LE(bench.Count("31/0"), 1U);
    nAsked += bench.Count("31/0");
  }
  EXPECT_GT(nAsked, 10U);
}

TEST(WavelengthCheck, HostThatDoesNotWaitForTheRemoval) {
  StartedBench bench;
  bench.world.sink.SkipCuvetteWait();
  bench.Forget();
  bench.device->SetCuvetteSize(10);
  ASSERT_EQ(Start(bench), S_OK);
  platform::Sleep(30'000);
  EXPECT_GT(bench.Count("QueryCuvetteWait()"), 2U);
  EXPECT_TRUE(bench.device->GetStatus().bBusy);
  bench.device->SetCuvetteSize(0);
  EXPECT_TRUE(bench.device.WaitUntilNotBusy());
}

// ---- cancel and errors ----

TEST(WavelengthCheck, CancelledAnywhereEndsWith18Alone) {
  for (const std::string at : {"9:25/0", "4/50", "4/75", "9:15/100", "31/0"}) {
    SCOPED_TRACE(at);
    StartedBench bench;
    if (at == "31/0") {
      bench.InsertAndWait();
    }
    bench.On(at, [&] { EXPECT_EQ(bench.device->CancelMeasurement(), S_OK); });
    RunCheck(bench);
    EXPECT_EQ(bench.Ends(), "9:18/100");
    EXPECT_EQ(bench.world.sink.Results().size(), 0U);
    EXPECT_EQ(bench.Count("32/0"), 0U);
    EXPECT_FALSE(bench.device->GetStatus().bCancel);
  }
}

TEST(WavelengthCheck, CancelAfterTheEndWasDecided) {
  StartedBench bench;
  bench.On("OnResult(9, 3)", [&] { bench.device->CancelMeasurement(); });
  for (const std::vector<double>& peaks : {PEAKS, {537.0}}) {
    RunCheck(bench, peaks);
    EXPECT_EQ(bench.Ends(), "9:17/100") << "the late cancel does not outlive its run";
  }
}

TEST(WavelengthCheck, CommandErrorEndsIt) {
  const std::tuple<simulator::Fault, const char*, const char*> cases[] = {
      {{FaultKind::Error, 's', 4}, "154", "Scan"},  // over the filter, of the second peak
      {{FaultKind::Silence, 'a', 1}, "132", "GetADValue"},
  };
  for (const auto& [fault, number, command] : cases) {
    SCOPED_TRACE(command);
    StartedBench bench;
    bench.AddFault(fault);
    RunCheck(bench);
    EXPECT_EQ(bench.Ends(), std::string("OnError(0, ") + number + ") OnError(9, " + number + ")");
    EXPECT_EQ(ErrorRecords(bench.world), Texts{std::string("[WavelengthCheck] ") + command + " returned " + number});
    EXPECT_EQ(bench.world.sink.Results().size(), 0U);
    EXPECT_TRUE(bench.IsInitialized());
  }
}

}  // namespace
}  // namespace photometer::tests
