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

TEST(HolmiumOxideScan, RangesOutOfBounds) {
  constexpr LONG LOWEST = std::numeric_limits<LONG>::min();
  constexpr LONG HIGHEST = std::numeric_limits<LONG>::max();
  const std::pair<LONG, LONG> cases[] = {{5000, 5000}, {-1001, 5000}, {5000, 15001}, {LOWEST, HIGHEST}, {0, HIGHEST}};
  for (const auto& [iFirst, iLast] : cases) {
    const HolmiumOxideScanRequest request{ID, iFirst, iLast};
    EXPECT_EQ(ValidateHolmiumOxideScanRequest(&request), E_INVALIDARG) << iFirst << " to " << iLast;
  }
}

// ---- on the simulated instrument ----

TEST(HolmiumOxideScan, DeliversTheFiltersSpectrum) {
  struct {
    bool bUV;
    LONG iFirst;
    LONG iLast;
  } const cases[] = {{false, 6500, 7300}, {true, 5000, 5001}, {true, -1000, 15000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.iFirst << " to " << c.iLast << (c.bUV ? "" : " without UV"));
    StartedBench bench({.bUV = c.bUV});
    bench.Forget();
    const HolmiumOxideScanRequest request{ID, c.iFirst, c.iLast};
    ASSERT_EQ(bench.device->StartHolmiumOxideScan(&request), S_OK);
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
  const std::string points = ScriptedScan::Light(10'000, 10);
  const std::string first = points.substr(0, 20);
  const std::string second = points.substr(20);
  struct {
    const char* what;
    /// Half a second after one another.
    Texts blocks;
    const char* expected;
  } const cases[] = {
      {"20 bytes", {first, second + "ok\r"}, "OnResult(5, 3) OnResult(5, 7) 5:17/100"},
      {"less than a point",
       {points.substr(0, 4), points.substr(4) + "ok\r"},
       "OnResult(5, 0) OnResult(5, 10) 5:17/100"},
      {"the end in pieces", {points + "o", "k", "\r"}, "OnResult(5, 10) 5:17/100"},
      {"silence behind 20 bytes", {first}, "OnResult(5, 3) OnError(0, 302)"},
      {"surplus behind a batch", {first, second + "ok\rxyz"}, "OnResult(5, 3) OnError(0, 303)"},
      {"error in pieces behind a batch", {points.substr(0, 18) + "err", "or\r\n"}, "OnResult(5, 3) OnError(0, 304)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Answer answer;
    for (const std::string& block : c.blocks) {
      answer.push_back({SECOND / 2, block});
    }
    ScriptedScan scan(10);
    scan.Run(answer);
    const std::string calls = scan.Calls();
    EXPECT_EQ(calls, c.expected);
    EXPECT_FALSE(scan.state.Lock()->m_Status.bBusy);
    const bool bFinished = calls.ends_with("5:17/100");
    EXPECT_EQ(scan.Cached(CacheEntry::MonochromatorPosition), bFinished ? FIRST + 10 : UNKNOWN);
    EXPECT_EQ(scan.world.Written().back(), bFinished ? "$h0" : "$f0");
    EXPECT_EQ(DebugLines(scan.world, u"[Photometer] Timeout: received 3 pts, 10 expected"),
              calls.ends_with("302)") ? 1U : 0U);
    if (!bFinished) {
      const std::string record = "[HolmiumOxideScan] SetADSpeed returned " + calls.substr(calls.size() - 4, 3);
      EXPECT_EQ(ErrorRecords(scan.world), Texts{record});
    }
  }
}

TEST(HolmiumOxideScan, ScanCommandThatCannotBeWritten) {
  // The open pass delivers nothing; it fails as any scan does.
  for (const auto& [nScan, calls] : {std::pair{1, "OnError(0, 155)"}, std::pair{2, "OnError(0, 305)"}}) {
    ScriptedScan scan(10);
    int iScans = 0;
    scan.world.ports.beforeWrite = [&, nFailing = nScan](std::string_view bytes) {
      if (bytes.starts_with("$s") && ++iScans == nFailing) {
        scan.world.ports.writes.Start(1);
      }
    };
    scan.Run({});
    EXPECT_EQ(scan.Calls(), calls);
    EXPECT_EQ(scan.Cached(CacheEntry::MonochromatorPosition), UNKNOWN);
  }
}

}  // namespace
}  // namespace photometer::tests
