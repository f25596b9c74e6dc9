#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/FilterSpectrum.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

TEST(FilterSpectrum, FindsTheFirstMaximum) {
  const std::vector<double> wavelengths{360.0, 360.1, 360.2, 360.3};
  EXPECT_EQ(FindMaximumIndex(wavelengths, {0.1, 0.7, 0.2, 0.7}), 1U);
  EXPECT_EQ(FindMaximumIndex(wavelengths, {std::nan(""), -5.0, -1.0, -3.0}), 2U);
  EXPECT_EQ(FindMaximumIndex({360.0, 360.1}, {0.1, 0.2, 0.9}), 1U) << "only as many as there are wavelengths";
}

TEST(FilterSpectrum, NormalisesEachPassByItsReference) {
  struct {
    Reading filter, open;
    double dAbsorbance;
  } const cases[] = {
      // The lamp has become twice as bright between the passes.
      {{200.0, 2000.0}, {1000.0, 1000.0}, 1.0},
      // No light, or less: as one count.
      {{-50.0, 1000.0}, {1000.0, 1000.0}, 3.0},
      {{100.0, -1.0}, {100.0, 100.0}, -2.0},
      {{100.0, 100.0}, {0.0, 100.0}, -2.0},
      {{100.0, 100.0}, {100.0, 0.0}, 2.0},
      {{0.0, 0.0}, {0.0, 0.0}, 0.0},
  };
  for (const auto& c : cases) {
    EXPECT_NEAR(FilterAbsorbance(c.filter, c.open), c.dAbsorbance, 1e-12);
  }
}

/// The spectrum's parts beside those of the optics, from 499 to 501 nm.
class Spectrum : public Optics {
 public:
  /// Dark readings of 100 and 50, scans with 1100 and 1050.
  Spectrum() {
    EXPECT_TRUE(cuvette.OpenCuvetteGpio());
    std::vector<double> expected;
    model.GetTableWavelengths(499.0, 501.0, &expected);
    device.Script("$a3", Readings(100, 50, 3));
    strScan = "$s" + std::to_string(model.GetTablePosition(501.0) + 1);
    device.Script(strScan, Readings(1100, 1050, static_cast<int>(expected.size())) + "\r\r\r");
    const auto guarded = state.Lock();
    guarded->m_iScanRangeMode = ScanRangeMode::FirstAndLast;
    guarded->m_ScanRange = {499.0, 501.0};
  }
  ~Spectrum() {
    Stop();
    cuvette.CloseCuvetteGpio();
  }

  DWORD Measure(BOOL bIgnoreCuvette) {
    return spectrum.MeasureFilterSpectrum(&wavelengths, &absorbances, 1, bIgnoreCuvette);
  }

  CuvetteHolder cuvette{state, sink};
  FilterSpectrum spectrum{state, sink, unit, detectors, model, cuvette};
  std::vector<double> wavelengths;
  std::vector<double> absorbances;
  std::string strScan;
};

TEST(FilterSpectrum, EndsEarly) {
  struct {
    const char* what;
    /// The callback during which it happens; none: before the start.
    const char* callback;
    bool bCancelled, bCuvette, bFails;
    BOOL bIgnoreCuvette;
    DWORD dwResult;
    /// Scans that were still begun.
    int iScans;
  } const cases[] = {
      {"cancelled before", "", true, false, false, TRUE, SPECTRUM_CANCELLED, 0},
      {"cancelled beside a cuvette", "OnNotify(0, 4, 50)", true, true, false, FALSE, SPECTRUM_CANCELLED, 1},
      {"cancelled after the filter pass", "OnNotify(0, 4, 75)", true, false, false, TRUE, SPECTRUM_CANCELLED, 2},
      {"cuvette before", "", false, true, false, FALSE, SPECTRUM_CUVETTE, 0},
      {"cuvette after the filter pass", "OnNotify(0, 4, 75)", false, true, false, FALSE, SPECTRUM_CUVETTE, 2},
      {"cuvette that is ignored", "", false, true, false, TRUE, 0, 2},
      {"command fails", "", false, false, true, TRUE, 4, 1},
      {"command fails beside a cuvette", "OnNotify(0, 4, 50)", false, true, true, FALSE, SPECTRUM_CUVETTE, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Spectrum s;
    const auto happen = [&] {
      const auto guarded = s.state.Lock();
      guarded->m_Status.bCancel = c.bCancelled;
      guarded->m_Status.iCuvetteSize = c.bCuvette ? 10 : 0;
      s.device.Script("$F6", c.bFails ? "error\r\n" : "ok\r\n");
    };
    if (*c.callback == '\0') {
      happen();
    } else {
      s.world.sink.On(c.callback, happen);
    }
    s.world.ports.beforeWrite = [&](std::string_view bytes) {
      if (bytes == "$r0\r" && !c.bFails && !c.bCancelled) {
        s.state.Lock()->m_Status.iCuvetteSize = 0;  // the cuvette alone is gone when the mirror is parked
      }
    };
    EXPECT_EQ(s.Measure(c.bIgnoreCuvette), c.dwResult);
    EXPECT_EQ(s.wavelengths.empty(), c.dwResult != 0);
    EXPECT_EQ(s.wavelengths.size(), s.absorbances.size());
    EXPECT_EQ(std::ranges::count(s.device.Commands(), s.strScan), c.iScans);
    EXPECT_EQ(s.Cached(CacheEntry::Mirror), 0) << "closed in every case";
    EXPECT_EQ(s.Cached(CacheEntry::HalogenLamp), 0);
    if (c.dwResult == 4) {
      EXPECT_EQ(s.state.LastCommand(), "SetFilter") << "not the closing commands";
    }
  }
}

}  // namespace
}  // namespace photometer::tests
