#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calibration/HolmiumOxideScan.h"
#include "calibration/SelfTestBench.h"
#include "simulator/HolmiumFilter.h"
#include "simulator/Monochromator.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

constexpr DWORD ID = 5;

// ---- on the simulated instrument ----

HRESULT Start(Bench& bench, LONG iFirst, LONG iLast) {
  const HolmiumOxideScanRequest request{ID, iFirst, iLast};
  return bench.device->StartHolmiumOxideScan(&request);
}

TEST(HolmiumOxideScan, Refused) {
  constexpr LONG LOWEST = std::numeric_limits<LONG>::min();
  constexpr LONG HIGHEST = std::numeric_limits<LONG>::max();
  Bench bench;
  EXPECT_EQ(Start(bench, 4000, 4100), E_FAIL) << "before Initialize";
  EXPECT_EQ(bench.device->StartHolmiumOxideScan(nullptr), E_POINTER);
  const std::pair<LONG, LONG> cases[] = {{5000, 5000},      {5001, 5000},      {-1001, 5000},        {5000, 15001},
                                         {LOWEST, HIGHEST}, {HIGHEST, LOWEST}, {LOWEST, LOWEST + 1}, {0, HIGHEST}};
  for (const auto& [iFirst, iLast] : cases) {
    EXPECT_EQ(Start(bench, iFirst, iLast), E_INVALIDARG) << iFirst << " to " << iLast;
  }
}

TEST(HolmiumOxideScan, DeliversTheFiltersSpectrum) {
  struct {
    bool bUV;
    LONG iFirst;
    LONG iLast;
  } const cases[] = {{true, 6500, 7300}, {false, 6500, 7300}, {true, 5000, 5001}, {true, -1000, 15000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.iFirst << " to " << c.iLast << (c.bUV ? "" : " without UV"));
    Bench bench({.bUV = c.bUV});
    ASSERT_TRUE(bench.StartUp({525.0}));
    bench.Forget();
    ASSERT_EQ(Start(bench, c.iFirst, c.iLast), S_OK);
    ASSERT_TRUE(bench.device.WaitUntilNotBusy());

    const MeasureValues points = bench.world.sink.Results();
    ASSERT_EQ(points.size(), static_cast<std::size_t>(c.iLast - c.iFirst + 1));
    const simulator::WavelengthPolynomial polynomial;
    for (std::size_t i = 0; i < points.size(); ++i) {
      const LONG iPosition = c.iFirst + static_cast<LONG>(i);
      ASSERT_EQ(points[i].dwPosition, static_cast<DWORD>(iPosition));
      ASSERT_EQ(points[i].dwTag, ID);
      const double dWavelength = polynomial.At(iPosition);
      if (dWavelength > 430.0 && dWavelength < 1000.0) {  // where there is light enough
        ASSERT_NEAR(points[i].dValue, -std::log10(simulator::HolmiumFilter::Transmission(dWavelength)), 0.02)
            << dWavelength;
      }
    }
    EXPECT_THAT(bench.Calls(), testing::StartsWith("5:25/0 OnResult"));
    EXPECT_EQ(bench.Ends(), "5:17/100");
    EXPECT_GT(bench.world.sink.Calls().size() - 2, points.size() / 10) << "as they arrive, not all at the end";
    EXPECT_EQ(bench.Commands("$s" + std::to_string(c.iLast + 1)), 2);
    EXPECT_EQ(bench.Commands(c.bUV ? "$F6" : "$F5"), 1);
  }
}

// ---- on a scripted unit ----

constexpr LONG FIRST = 5000;
constexpr DWORD DARK_SAMPLE = 1000;
constexpr DWORD DARK_REFERENCE = 2000;
constexpr DWORD OPEN_LIGHT = 100'000;

/// A run on a unit whose open pass gives the same light everywhere. A read ends when the line has fallen silent: a
/// block arrives whole.
struct ScriptedScan : Optics {
  explicit ScriptedScan(LONG iPoints) : Optics(false), iLast(FIRST + iPoints - 1) {
    device.Script("$a3", Readings(DARK_SAMPLE, DARK_REFERENCE, 3));
    device.Script(Command(), Light(OPEN_LIGHT, iPoints) + "ok\r");
  }
  [[nodiscard]] std::string Command() const { return "$s" + std::to_string(iLast + 1); }
  static std::string Light(DWORD dwSample, int iCount) {
    return Readings(dwSample + DARK_SAMPLE, OPEN_LIGHT + DARK_REFERENCE, iCount);
  }
  void Run(const Answer& filterPass) {
    device.Script(Command(), filterPass);
    state.Lock()->m_HolmiumOxideScanRequest = {ID, FIRST, iLast};
    HolmiumOxideScan(state, sink, link, unit, detectors, end).Run();
  }
  /// Callbacks without the start.
  [[nodiscard]] std::string Calls() const { return CallsWithout("5:25/0", world); }

  LONG iLast;
  EndSequence end{state, sink, link, unit};
};

TEST(HolmiumOxideScan, PointsInTheBatchesInWhichTheyArrive) {
  constexpr simulator::Time LATER = SECOND / 2;
  const std::string points = ScriptedScan::Light(10'000, 10);
  const std::string all = points + "ok\r";
  const auto batches = [&](const std::vector<std::size_t>& sizes) {
    Answer answer;
    std::size_t nFrom = 0;
    for (const std::size_t nSize : sizes) {
      answer.push_back({LATER, all.substr(nFrom, nSize)});
      nFrom += nSize;
    }
    answer.push_back({LATER, all.substr(nFrom)});
    return answer;
  };
  struct {
    const char* what;
    Answer answer;
    const char* expected;
    const char* debug;
  } const cases[] = {
      {"all at once", batches({}), "OnResult(5, 10) 5:17/100", ""},
      {"20 bytes", batches({20}), "OnResult(5, 3) OnResult(5, 7) 5:17/100", ""},
      {"pieces of points", batches({4, 4, 40, 10}),
       "OnResult(5, 0) OnResult(5, 1) OnResult(5, 7) OnResult(5, 1) OnResult(5, 1) 5:17/100", ""},
      {"the end later than the last point", batches({60}), "OnResult(5, 10) 5:17/100", ""},
      {"the end cut", batches({61, 1}), "OnResult(5, 10) 5:17/100", ""},
      {"silence behind 20 bytes",
       {{LATER, points.substr(0, 20)}},
       "OnResult(5, 3) OnError(0, 302)",
       "[Photometer] Timeout: received 3 pts, 10 expected"},
      {"silence", {}, "OnError(0, 302)", "[Photometer] Timeout: received 0 pts, 10 expected"},
      {"surplus", {{LATER, points + points.substr(0, 6)}}, "OnError(0, 303)", ""},
      {"surplus behind a batch",
       {{LATER, points.substr(0, 20)}, {LATER, points.substr(20) + "ok\rxyz"}},
       "OnResult(5, 3) OnError(0, 303)",
       ""},
      {"error", {{LATER, "error\r\n"}}, "OnError(0, 304)", ""},
      {"error behind a batch",
       {{LATER, points.substr(0, 20)}, {LATER, "error\r\n"}},
       "OnResult(5, 3) OnError(0, 304)",
       ""},
      {"error in pieces",
       {{LATER, points.substr(0, 18) + "err"}, {LATER, "or\r\n"}},
       "OnResult(5, 3) OnError(0, 304)",
       ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ScriptedScan scan(10);
    scan.Run(c.answer);
    EXPECT_EQ(scan.Calls(), c.expected);
    const bool bFinished = scan.Calls().ends_with("5:17/100");
    EXPECT_EQ(scan.Cached(CacheEntry::MonochromatorPosition), bFinished ? FIRST + 10 : UNKNOWN);
    EXPECT_EQ(scan.world.Written().back(), bFinished ? "$h0" : "$f0");
    const std::u16string debug(c.debug, c.debug + std::string(c.debug).size());
    EXPECT_TRUE(debug.empty() || DebugLines(scan.world, debug) == 1);
    EXPECT_FALSE(scan.state.Lock()->m_Status.bBusy);
    if (!bFinished) {
      const std::string number = scan.Calls().substr(scan.Calls().find("(0, ") + 4, 3);
      EXPECT_EQ(ErrorRecords(scan.world), Texts{"[HolmiumOxideScan] SetADSpeed returned " + number});
    }
  }
}

TEST(HolmiumOxideScan, Absorbances) {
  struct {
    DWORD dwSample;
    double dExpected;
  } const cases[] = {{OPEN_LIGHT, 0.0}, {OPEN_LIGHT / 10, 1.0}, {1, 5.0}, {0, 5.0}};
  for (const auto& c : cases) {
    ScriptedScan scan(1);
    scan.Run({{ANSWER_TIME, ScriptedScan::Light(c.dwSample, 1) + "ok\r"}});
    const MeasureValues points = scan.world.sink.Results();
    ASSERT_EQ(points.size(), 1U);
    EXPECT_NEAR(points[0].dValue, c.dExpected, 1e-12);
    EXPECT_EQ(points[0].dWavelength, 0.0);
    EXPECT_EQ(points[0].dValueRef, 0.0);
    EXPECT_EQ(points[0].dTurbidity, 0.0);
    EXPECT_EQ(points[0].iCuvetteSize, 0);
  }
}

TEST(HolmiumOxideScan, ScanCommandThatCannotBeWritten) {
  ScriptedScan scan(10);
  int iScans = 0;
  scan.world.ports.beforeWrite = [&](std::string_view bytes) {
    if (bytes.starts_with("$s") && ++iScans == 2) {
      scan.world.ports.writes.Start(1);
    }
  };
  scan.Run({});
  EXPECT_EQ(scan.Calls(), "OnError(0, 305)");
  EXPECT_EQ(scan.Cached(CacheEntry::MonochromatorPosition), UNKNOWN);
  EXPECT_EQ(ErrorRecords(scan.world), Texts{"[HolmiumOxideScan] SetADSpeed returned 305"});
}

TEST(HolmiumOxideScan, OpenPassThatFails) {
  ScriptedScan scan(10);
  scan.device.ForgetScripts();
  scan.device.Script("$a3", Readings(DARK_SAMPLE, DARK_REFERENCE, 3));
  scan.device.Script(scan.Command(), "error\r\n");
  scan.Run({});
  EXPECT_EQ(scan.Calls(), "OnError(0, 154)") << "nothing is delivered";
}

}  // namespace
}  // namespace photometer::tests
