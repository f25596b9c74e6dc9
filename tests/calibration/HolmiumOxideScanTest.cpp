#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/HolmiumOxideScan.h"
#include "calibration/SelfTestHost.h"
#include "simulator/HolmiumFilter.h"
#include "simulator/Monochromator.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Calls = std::vector<std::string>;

constexpr DWORD ID = 5;

// ---- on the simulated instrument ----

TEST(HolmiumOxideScan, Refused) {
  constexpr LONG LOWEST = std::numeric_limits<LONG>::min();
  constexpr LONG HIGHEST = std::numeric_limits<LONG>::max();
  World world;
  Device device(world);
  const auto start = [&](LONG iFirst, LONG iLast) {
    const HolmiumOxideScanRequest request{ID, iFirst, iLast};
    return device->StartHolmiumOxideScan(&request);
  };
  EXPECT_EQ(start(4000, 4100), E_FAIL) << "before Initialize";
  ASSERT_TRUE(device.StartUp());
  struct {
    LONG iFirst;
    LONG iLast;
  } const cases[] = {{5000, 5000},      {5001, 5000},      {-1001, 5000},        {5000, 15001},
                     {LOWEST, HIGHEST}, {HIGHEST, LOWEST}, {LOWEST, LOWEST + 1}, {0, HIGHEST}};
  for (const auto& c : cases) {
    EXPECT_EQ(start(c.iFirst, c.iLast), E_INVALIDARG) << c.iFirst << " to " << c.iLast;
  }
  EXPECT_EQ(device->StartHolmiumOxideScan(nullptr), E_POINTER);
  EXPECT_FALSE(device->GetStatus().bBusy);
  ASSERT_EQ(start(4000, 4001), S_OK);
  EXPECT_EQ(start(4000, 4001), E_FAIL) << "while one runs";
  ASSERT_TRUE(device.WaitUntilNotBusy());
}

TEST(HolmiumOxideScan, DeliversTheFiltersSpectrum) {
  struct {
    bool bUV;
    LONG iFirst;
    LONG iLast;
  } const cases[] = {{true, 6500, 7300}, {false, 6500, 7300}, {true, 5000, 5001}, {true, -1000, 15000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.iFirst << " to " << c.iLast << (c.bUV ? "" : " without UV"));
    WorldOptions options;
    options.unit.bUV = c.bUV;
    World world(options);
    Device device(world);
    ASSERT_TRUE(StartUpOfKind(device, c.bUV));
    const std::size_t nCalls = world.sink.Calls().size();
    const HolmiumOxideScanRequest request{ID, c.iFirst, c.iLast};
    ASSERT_EQ(device->StartHolmiumOxideScan(&request), S_OK);
    ASSERT_TRUE(device.WaitUntilNotBusy());

    const MeasureValues points = world.sink.Results();
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
    const Calls calls = CallsFrom(world, nCalls);
    EXPECT_EQ(calls.front(), "OnNotify(5, 25, 0)");
    EXPECT_EQ(calls.back(), "OnNotify(5, 17, 100)");
    EXPECT_GT(calls.size() - 2, points.size() / 10) << "as they arrive, not all at the end";
    const Calls written = world.Written();
    EXPECT_EQ(std::count(written.begin(), written.end(), "$s" + std::to_string(c.iLast + 1)), 2);
    world.ExpectSwitchedOff();
    device.Close();
    world.ExpectClean();
  }
}

// ---- on a scripted unit ----

constexpr LONG FIRST = 5000;
constexpr DWORD DARK_SAMPLE = 1000;
constexpr DWORD DARK_REFERENCE = 2000;
constexpr DWORD OPEN_LIGHT = 100'000;

/// A run on a unit whose open pass gives the same light everywhere.
class ScriptedScan {
 public:
  explicit ScriptedScan(DWORD dwPoints)
      : m_strScan("$s" + std::to_string(FIRST + static_cast<LONG>(dwPoints))), m_dwPoints(dwPoints) {
    m_Optics.device.Script("$a3", Readings(DARK_SAMPLE, DARK_REFERENCE, 3));
    m_Optics.device.Script(m_strScan, Light(OPEN_LIGHT, static_cast<int>(dwPoints)) + "ok\r");
  }

  static std::string Light(DWORD dwSample, int iCount) {
    return Readings(dwSample + DARK_SAMPLE, OPEN_LIGHT + DARK_REFERENCE, iCount);
  }

  void Run(const Answer& filterPass) {
    m_Optics.device.Script(m_strScan, filterPass);
    m_Optics.state.Lock()->m_HolmiumOxideScanRequest = {ID, FIRST, FIRST + static_cast<LONG>(m_dwPoints) - 1};
    HolmiumOxideScan(m_Optics.state, m_Optics.sink, m_Optics.link, m_Optics.unit, m_Optics.detectors, m_End).Run();
  }

  [[nodiscard]] World& GetWorld() { return m_Optics.world; }
  [[nodiscard]] Optics& GetOptics() { return m_Optics; }
  /// Callbacks without the start.
  [[nodiscard]] Calls GetCalls() const { return CallsFrom(m_Optics.world, 1); }
  [[nodiscard]] LONG Position() { return m_Optics.Cached(CacheEntry::MonochromatorPosition); }

 private:
  // A read ends when the line has fallen silent: a block arrives whole.
  Optics m_Optics{false};
  EndSequence m_End{m_Optics.state, m_Optics.sink, m_Optics.link, m_Optics.unit};
  std::string m_strScan;
  DWORD m_dwPoints;
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
    Calls expected;
    const char* debug;
  } const cases[] = {
      {"all at once", batches({}), {"OnResult(5, 10)", "OnNotify(5, 17, 100)"}, ""},
      {"20 bytes", batches({20}), {"OnResult(5, 3)", "OnResult(5, 7)", "OnNotify(5, 17, 100)"}, ""},
      {"pieces of points",
       batches({4, 4, 40, 10}),
       {"OnResult(5, 0)", "OnResult(5, 1)", "OnResult(5, 7)", "OnResult(5, 1)", "OnResult(5, 1)",
        "OnNotify(5, 17, 100)"},
       ""},
      {"the end later than the last point", batches({60}), {"OnResult(5, 10)", "OnNotify(5, 17, 100)"}, ""},
      {"the end cut", batches({61, 1}), {"OnResult(5, 10)", "OnNotify(5, 17, 100)"}, ""},
      {"silence behind 20 bytes",
       {{LATER, points.substr(0, 20)}},
       {"OnResult(5, 3)", "OnError(0, 302)"},
       "[Photometer] Timeout: received 3 pts, 10 expected"},
      {"silence", {}, {"OnError(0, 302)"}, "[Photometer] Timeout: received 0 pts, 10 expected"},
      {"surplus", {{LATER, points + points.substr(0, 6)}}, {"OnError(0, 303)"}, ""},
      {"surplus behind a batch",
       {{LATER, points.substr(0, 20)}, {LATER, points.substr(20) + "ok\rxyz"}},
       {"OnResult(5, 3)", "OnError(0, 303)"},
       ""},
      {"error", {{LATER, "error\r\n"}}, {"OnError(0, 304)"}, ""},
      {"error behind a batch",
       {{LATER, points.substr(0, 20)}, {LATER, "error\r\n"}},
       {"OnResult(5, 3)", "OnError(0, 304)"},
       ""},
      {"error in pieces",
       {{LATER, points.substr(0, 18) + "err"}, {LATER, "or\r\n"}},
       {"OnResult(5, 3)", "OnError(0, 304)"},
       ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ScriptedScan scan(10);
    scan.Run(c.answer);
    EXPECT_EQ(scan.GetCalls(), c.expected);
    const bool bFinished = c.expected.back() == "OnNotify(5, 17, 100)";
    EXPECT_EQ(scan.Position(), bFinished ? FIRST + 10 : UNKNOWN);
    EXPECT_EQ(scan.GetWorld().Written().back(), bFinished ? "$h0" : "$f0");
    const std::u16string debug(c.debug, c.debug + std::string(c.debug).size());
    EXPECT_TRUE(debug.empty() || DebugLines(scan.GetWorld(), debug) == 1);
    EXPECT_FALSE(scan.GetOptics().state.Lock()->m_Status.bBusy);
    if (!bFinished) {
      const int iError = std::stoi(c.expected.back().substr(11));
      EXPECT_EQ(ErrorRecords(scan.GetWorld(), "HolmiumOxideScan", "SetADSpeed", iError), 1U);
    }
  }
}

TEST(HolmiumOxideScan, Absorbances) {
  struct {
    DWORD dwSample;
    double dExpected;
  } const cases[] = {{OPEN_LIGHT, 0.0}, {OPEN_LIGHT / 10, 1.0}, {OPEN_LIGHT / 100, 2.0}, {1, 5.0}, {0, 5.0}};
  for (const auto& c : cases) {
    ScriptedScan scan(2);
    scan.Run({{ANSWER_TIME, ScriptedScan::Light(c.dwSample, 2) + "ok\r"}});
    const MeasureValues points = scan.GetWorld().sink.Results();
    ASSERT_EQ(points.size(), 2U);
    for (LONG i = 0; i < 2; ++i) {
      const MeasureValue& point = points[static_cast<std::size_t>(i)];
      EXPECT_EQ(point.dwPosition, static_cast<DWORD>(FIRST + i));
      EXPECT_NEAR(point.dValue, c.dExpected, 1e-12);
      EXPECT_EQ(point.dWavelength, 0.0);
      EXPECT_EQ(point.dValueRef, 0.0);
      EXPECT_EQ(point.dTurbidity, 0.0);
      EXPECT_EQ(point.iCuvetteSize, 0);
    }
  }
}

TEST(HolmiumOxideScan, ScanCommandThatCannotBeWritten) {
  ScriptedScan scan(10);
  int iScans = 0;
  scan.GetWorld().ports.beforeWrite = [&](std::string_view bytes) {
    if (bytes.starts_with("$s") && ++iScans == 2) {
      scan.GetWorld().ports.writes.Start(1);
    }
  };
  scan.Run({});
  EXPECT_EQ(scan.GetCalls(), Calls{"OnError(0, 305)"});
  EXPECT_EQ(scan.Position(), UNKNOWN);
  EXPECT_EQ(ErrorRecords(scan.GetWorld(), "HolmiumOxideScan", "SetADSpeed", 305), 1U);
}

TEST(HolmiumOxideScan, OpenPassThatFails) {
  ScriptedScan scan(10);
  scan.GetOptics().device.ForgetScripts();
  scan.GetOptics().device.Script("$a3", Readings(DARK_SAMPLE, DARK_REFERENCE, 3));
  scan.GetOptics().device.Script("$s5010", "error\r\n");
  scan.Run({});
  EXPECT_EQ(scan.GetCalls(), Calls{"OnError(0, 154)"}) << "nothing is delivered";
}

}  // namespace
}  // namespace photometer::tests
