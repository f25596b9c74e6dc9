#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

#include <gtest/gtest.h>

#include "Bench.h"
#include "simulator/LightPath.h"

namespace simulator {
namespace {

/// Wavelengths of a measurement, nm.
const std::vector<double> Wavelengths = {340, 365, 380, 420, 470, 525, 580, 690, 850, 1000};

TEST(LightPath, GivesPlausibleCountsInAllRanges) {
  for (const double wavelength :
       {330.0, 345.0, 365.0, 374.9, 375.0, 412.0, 450.0, 549.9, 550.0, 620.0, 690.0, 820.0, 885.0, 1000.0, 1100.0}) {
    Bench bench;
    bench.PrepareHalogen(wavelength);
    const Counts counts = bench.Measure();
    EXPECT_GT(counts.sample, 100'000.0) << wavelength;
    EXPECT_LT(std::max(counts.sample, counts.reference), 14e6) << wavelength;
    EXPECT_GT(counts.reference, 100'000.0) << wavelength;
  }
}

TEST(LightPath, LightsTheUVWithTheDeuteriumLamp) {
  for (const double wavelength : {195.0, 220.0, 240.0, 280.0, 340.0, 350.0}) {
    Bench bench;
    bench.Set({"o1", "r2", "F0", "g1", "M" + std::to_string(TablePosition(wavelength))});
    EXPECT_LT(std::fabs(bench.Measure().reference), 500.0) << "dark before the lamp burns";
    bench.Set({"d1"});
    const Counts counts = bench.Measure();
    EXPECT_GT(counts.reference, 100'000.0) << wavelength;
    EXPECT_LT(std::max(counts.sample, counts.reference), 15e6) << wavelength;
    bench.unit.SetFaults({.bDeuteriumLights = false});
    EXPECT_LT(std::fabs(bench.Measure().reference), 500.0) << "dark when the arc does not strike";
  }
}

TEST(LightPath, HasFiltersThatPassTheirRangeAndBlockOutsideIt) {
  using Wheel = std::tuple<bool, int, std::vector<double>, std::vector<double>>;
  const Wheel filters[] = {{true, 1, {340, 374}, {500}},  {true, 2, {375, 549}, {700}},
                           {true, 3, {550, 1000}, {400}}, {false, 1, {}, {500}},
                           {false, 2, {500}, {700}},      {false, 3, {450, 549, 670}, {700}},
                           {false, 4, {550}, {400}}};
  const auto absorbance = [](bool bUV, int iFilter, double wavelength) {
    Bench bench({.bUV = bUV, .noiseLevel = 0.0});
    bench.Set({"o1", "r1", "M" + std::to_string(TablePosition(wavelength)), "h1"});
    bench.now += 10'000'000;
    const Counts open = bench.Measure();
    bench.Set({"F" + std::to_string(iFilter)});
    return Absorbance(bench.Measure(), open);
  };
  for (const auto& [bUV, iFilter, passes, blocks] : filters) {
    for (const double wavelength : passes) EXPECT_LT(absorbance(bUV, iFilter, wavelength), 0.15) << wavelength;
    for (const double wavelength : blocks) EXPECT_GT(absorbance(bUV, iFilter, wavelength), 2.0) << wavelength;
  }
}

/// The chain as a host sees it: zero values without, then values with the sample.
struct Deviation {
  double absorbance;
  double sigma;
};

Deviation MeasureDeviation(Bench& bench, double wavelength, const Sample& sample,
                           const std::function<void()>& between) {
  bench.unit.SetSample(Sample::Blank(), bench.now);
  bench.PrepareHalogen(wavelength);
  const Counts blank = bench.Measure();
  bench.unit.SetSample(sample, bench.now);
  between();
  const double measured = Absorbance(bench.Measure(), blank);
  const double expected =
      bench.unit.ApparentAbsorbance(WavelengthPolynomial{}.At(TablePosition(wavelength)), bench.now);
  const double sampleCounts = blank.sample * std::pow(10.0, -expected);
  const double sigma = AbsorbanceStandardDeviation(sampleCounts, blank.reference, blank.sample, blank.reference,
                                                   {.bHighGain = wavelength < 375.0});
  return {measured - expected, sigma};
}

TEST(LightPath, GivesBackTheAbsorbanceWithinTheStatedNoise) {
  int nPoints = 0;
  int nBeyondThree = 0;
  double sum = 0.0;
  double squares = 0.0;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    Bench bench({.seed = seed, .positionOffset = static_cast<int>(seed) - 5});
    for (const double wavelength : Wavelengths) {
      for (const double absorbance : {0.05, 0.3, 1.0, 2.0}) {
        const Sample sample = Sample::Bands({{wavelength + 15, absorbance, 40}, {525, 0.02, 30}});
        const Deviation deviation = MeasureDeviation(bench, wavelength, sample, [] {});
        const double score = deviation.absorbance / deviation.sigma;
        EXPECT_LT(deviation.sigma, 0.005);
        EXPECT_LT(std::fabs(score), 5.0) << wavelength << " nm, A " << absorbance;
        ++nPoints;
        nBeyondThree += std::fabs(score) > 3.0 ? 1 : 0;
        sum += score;
        squares += score * score;
      }
    }
  }
  EXPECT_LE(nBeyondThree, nPoints / 100);
  EXPECT_NEAR(sum / nPoints, 0.0, 3.0 / std::sqrt(nPoints)) << "no bias";
  EXPECT_NEAR(squares / nPoints, 1.0, 0.25) << "the formula is neither too wide nor too narrow";
}

TEST(LightPath, ShowsEachFaultInTheAbsorbance) {
  struct Case {
    const char* name;
    double wavelength;
    std::function<void(Bench&)> plant;
  };
  InstrumentFaults leaking;
  leaking.filterLeak.fill(0.5);
  const Case cases[] = {
      {"lamp off", 470, [](Bench& bench) { bench.Set({"h0"}); }},
      {"lamp dead", 470, [](Bench& bench) { bench.unit.SetFaults({.halogenLevel = 0.0}); }},
      {"shutter closed", 470, [](Bench& bench) { bench.unit.SetFaults({.stuckShutter = true}); }},
      {"mirror", 470, [](Bench& bench) { bench.unit.SetFaults({.stuckMirror = 2}); }},
      {"gain", 470, [](Bench& bench) { bench.unit.SetFaults({.stuckGain = true}); }},
      {"gain in the UV", 345, [](Bench& bench) { bench.unit.SetFaults({.stuckGain = false}); }},
      {"filter", 600, [](Bench& bench) { bench.Set({"F2"}); }},
      {"open filter", 850, [](Bench& bench) { bench.Set({"F0"}); }},
      {"filter order", 600,
       [](Bench& bench) {
         bench.unit.SetFaults({.filterOrder = {0, 1, 3, 2, 4, 5, 6, 7}});
       }},
      {"filter leak", 850, [&](Bench& bench) { bench.unit.SetFaults(leaking); }},
      {"1 nm", 495, [](Bench& bench) { bench.unit.SetFaults({.slippedSteps = 12}); }},
      {"noise", 470, [](Bench& bench) { bench.unit.SetFaults({.detectorNoise = 300.0}); }},
  };
  const Sample sample = Sample::Bands({{525, 1.0, 30}, {850, 1.5, 60}, {345, 1.5, 60}});
  for (const Case& oneCase : cases) {
    int nBeyondThree = 0;
    for (std::uint64_t seed = 1; seed <= 10; ++seed) {
      Bench bench({.seed = seed});
      const Deviation deviation = MeasureDeviation(bench, oneCase.wavelength, sample, [&] { oneCase.plant(bench); });
      // A reading without light has no absorbance at all.
      nBeyondThree += std::fabs(deviation.absorbance) < 3.0 * deviation.sigma ? 0 : 1;
    }
    EXPECT_GE(nBeyondThree, 3) << oneCase.name;
  }
}

TEST(LightPath, RatioOfTheBeamsHasNoStepBehindOneFilter) {
  Bench bench({.noiseLevel = 0.0});
  bench.PrepareHalogen(700);
  Counts before = bench.Measure();
  for (int wavelength = 701; wavelength <= 1100; ++wavelength) {
    bench.Set({"M" + std::to_string(TablePosition(wavelength))});
    const Counts counts = bench.Measure();
    EXPECT_LT(std::fabs(Absorbance(counts, before)), 0.002) << wavelength;
    before = counts;
  }
}

TEST(LightPath, IsWeakWithAWeakLampAndDarkWithoutOptoPower) {
  Bench bench({.noiseLevel = 0.0});
  bench.PrepareHalogen(670);
  EXPECT_GT(bench.Measure().reference, 100'000.0);
  bench.unit.SetFaults({.halogenLevel = 0.01});
  EXPECT_LT(bench.Measure().reference, 100'000.0);
  bench.Set({"o0"});
  EXPECT_EQ(bench.Ask("$a3\r").strBytes, std::string(18, '\0'));
}

}  // namespace
}  // namespace simulator
