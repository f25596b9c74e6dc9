#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/FilterSpectrum.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Texts = std::vector<std::string>;

TEST(FilterSpectrum, FindsTheFirstMaximum) {
  struct {
    std::vector<double> values;
    DWORD dwIndex;
  } const cases[] = {
      {{}, 0}, {{-5.0}, 0}, {{-5.0, -1.0, -3.0}, 1}, {{0.1, 0.7, 0.2, 0.7}, 1}, {{std::nan(""), 0.2, 0.1}, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(FindMaximumIndex(std::vector<double>(c.values.size(), 360.0), c.values), c.dwIndex);
  }
  EXPECT_EQ(FindMaximumIndex({360.0, 360.1}, {0.1, 0.2, 0.9}), 1U) << "only as many as there are wavelengths";
  EXPECT_EQ(FindMaximumIndex({360.0, 360.1, 360.2}, {0.1, 0.2}), 1U);
}

TEST(FilterSpectrum, NormalisesEachPassByItsReference) {
  struct {
    Reading filter, open;
    double dAbsorbance;
  } const cases[] = {
      {{100.0, 1000.0}, {1000.0, 1000.0}, 1.0},
      // The lamp has become twice as bright between the passes.
      {{200.0, 2000.0}, {1000.0, 1000.0}, 1.0},
      // No light, or less: as one count.
      {{0.0, 1000.0}, {1000.0, 1000.0}, 3.0},
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

/// The spectrum's parts beside those of the optics.
class Spectrum : public Optics {
 public:
  /// Dark readings of 100 and 50, scans of 499 to 501 nm with 1100 and 1050.
  Spectrum() {
    EXPECT_TRUE(cuvette.OpenCuvetteGpio());
    std::vector<double> expected;
    model.GetTableWavelengths(499.0, 501.0, &expected);
    nExpected = expected.size();
    device.Script("$a3", Readings(100, 50, 3));
    device.Script("$s" + std::to_string(model.GetTablePosition(501.0) + 1),
                  Readings(1100, 1050, static_cast<int>(nExpected)) + "\r\r\r");
  }
  ~Spectrum() {
    Stop();
    cuvette.CloseCuvetteGpio();
  }

  DWORD Measure(BOOL bIgnoreCuvette, ScanRangeMode mode, const std::vector<double>& range) {
    {
      const auto guarded = state.Lock();
      guarded->m_iScanRangeMode = mode;
      guarded->m_ScanRange = range;
    }
    wavelengths.clear();
    absorbances.clear();
    device.Forget();
    return spectrum.MeasureFilterSpectrum(&wavelengths, &absorbances, 1, bIgnoreCuvette);
  }

  CuvetteHolder cuvette{state, sink};
  FilterSpectrum spectrum{state, sink, unit, detectors, model, cuvette};
  std::vector<double> wavelengths;
  std::vector<double> absorbances;
  std::size_t nExpected = 0;
};

TEST(FilterSpectrum, TakesTheRangeInBothWays) {
  for (const auto& [mode, range] : {std::pair{ScanRangeMode::FirstAndLast, std::vector{499.0, 501.0}},
                                    std::pair{ScanRangeMode::CentreAndHalfWidth, std::vector{500.0, 1.0}}}) {
    Spectrum s;
    EXPECT_EQ(s.Measure(TRUE, mode, range), 0U);
    EXPECT_EQ(s.wavelengths.size(), s.nExpected);
    EXPECT_EQ(s.absorbances, std::vector<double>(s.nExpected, 0.0));
    EXPECT_NEAR(s.wavelengths.front(), 499.0, 0.05);
    EXPECT_NEAR(s.wavelengths.back(), 501.0, 0.05);
    EXPECT_EQ(s.world.sink.Calls(), (Texts{"OnNotify(0, 4, 50)", "OnNotify(0, 4, 75)"}));
  }
}

TEST(FilterSpectrum, SendsNothingWithoutARange) {
  Spectrum s;
  EXPECT_EQ(s.Measure(TRUE, static_cast<ScanRangeMode>(2), {499.0, 501.0}), SPECTRUM_BAD_RANGE);
  EXPECT_EQ(s.Measure(TRUE, ScanRangeMode::FirstAndLast, {499.0}), SPECTRUM_BAD_RANGE);
  EXPECT_EQ(s.device.Commands(), Texts{});
}

TEST(FilterSpectrum, ChoosesTheHolmiumFilterOfTheInstrument) {
  for (const BOOL bUV : {TRUE, FALSE}) {
    Spectrum s;
    s.state.Lock()->m_Params.bUV = bUV;
    EXPECT_EQ(s.Measure(TRUE, ScanRangeMode::FirstAndLast, {499.0, 501.0}), 0U);
    EXPECT_EQ(std::ranges::count(s.device.Commands(), bUV ? "$F6" : "$F5"), 1);
  }
}

TEST(FilterSpectrum, EndsEarly) {
  struct Case {
    const char* what;
    /// The callback during which it happens; none: before the start.
    const char* callback;
    std::function<void(Spectrum&)> act;
    BOOL bIgnoreCuvette;
    DWORD dwResult;
    bool bEmpty;
  };
  const auto cancel = [](Spectrum& s) { s.state.Lock()->m_Status.bCancel = TRUE; };
  const auto insert = [](Spectrum& s) { s.state.Lock()->m_Status.iCuvetteSize = 10; };
  const auto fail = [](Spectrum& s) { s.device.Script("$h2", "error\r\n"); };
  const Case cases[] = {
      {"cancelled before", "", cancel, TRUE, SPECTRUM_CANCELLED, true},
      {"cancelled after the open pass", "OnNotify(0, 4, 50)", cancel, TRUE, SPECTRUM_CANCELLED, true},
      {"cancelled after the filter pass", "OnNotify(0, 4, 75)", cancel, TRUE, SPECTRUM_CANCELLED, true},
      {"cancelled beside a cuvette", "OnNotify(0, 4, 50)",
       [&](Spectrum& s) {
         cancel(s);
         insert(s);
       },
       FALSE, SPECTRUM_CANCELLED, true},
      {"cuvette before", "", insert, FALSE, SPECTRUM_CUVETTE, true},
      {"cuvette after the open pass", "OnNotify(0, 4, 50)", insert, FALSE, SPECTRUM_CUVETTE, true},
      {"cuvette after the filter pass", "OnNotify(0, 4, 75)", insert, FALSE, SPECTRUM_CUVETTE, true},
      {"cuvette that is gone when the mirror is parked", "OnNotify(0, 4, 75)",
       [&](Spectrum& s) {
         insert(s);
         s.world.ports.beforeWrite = [&s](std::string_view bytes) {
           s.state.Lock()->m_Status.iCuvetteSize = bytes == "$r0\r" ? 0 : 10;
         };
       },
       FALSE, SPECTRUM_CUVETTE, true},
      {"cuvette that is ignored", "", insert, TRUE, 0, false},
      {"command fails", "", fail, TRUE, 64, true},
      {"command fails beside a cuvette", "",
       [&](Spectrum& s) {
         fail(s);
         insert(s);
       },
       FALSE, SPECTRUM_CUVETTE, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Spectrum s;
    if (*c.callback == '\0') {
      c.act(s);
    } else {
      s.world.sink.On(c.callback, [&] { c.act(s); });
    }
    EXPECT_EQ(s.Measure(c.bIgnoreCuvette, ScanRangeMode::FirstAndLast, {499.0, 501.0}), c.dwResult);
    EXPECT_EQ(s.wavelengths.empty(), c.bEmpty);
    EXPECT_EQ(s.wavelengths.size(), s.absorbances.size());
    EXPECT_EQ(s.Cached(CacheEntry::Mirror), 0) << "closed in every case";
    EXPECT_EQ(s.Cached(CacheEntry::HalogenLamp), 0);
  }
}

TEST(FilterSpectrum, KeepsTheNameOfTheCommandThatFailed) {
  Spectrum s;
  s.device.Script("$F6", "error\r\n");
  EXPECT_EQ(s.Measure(TRUE, ScanRangeMode::FirstAndLast, {499.0, 501.0}), 4U);
  EXPECT_EQ(s.state.LastCommand(), "SetFilter");
}

}  // namespace
}  // namespace photometer::tests
