#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "platform/Platform.h"
#include "procedures/Scan.h"
#include "simulator/Detector.h"

namespace photometer::tests {
namespace {

using Texts = std::vector<std::string>;
using simulator::FaultKind;
using simulator::Sample;

constexpr DWORD FINISHED = 17;
constexpr DWORD CANCELLED = 18;

ScanRequest Request(double dStart, double dEnd, bool bCoarse = false) {
  return {RUN_ID, dStart, dEnd, 340.0, 0, bCoarse ? TRUE : FALSE, FALSE};
}

Start ScanOf(const ScanRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartScan(&request); };
}

/// Two segments: 60 points with the lower filter, up to 375 nm, and 62 with the next.
constexpr std::size_t FIRST_POINTS = 60;
constexpr std::size_t BOTH_POINTS = 122;
const ScanRequest ACROSS_A_FILTER = Request(370, 380);

/// Like the positions and wavelengths of the table from the first one on.
void ExpectPositionsOfTheTable(const MeasureValues& values, DWORD dwStep, LONG iCorrection) {
  const PhotometerParameters params = DefaultParameters();
  for (std::size_t i = 0; i < values.size(); ++i) {
    const DWORD dwPosition = values[0].dwPosition + static_cast<DWORD>(i) * dwStep;
    ASSERT_EQ(values[i].dwPosition, dwPosition) << i;
    ASSERT_EQ(values[i].dWavelength, WavelengthOfPosition(params, dwPosition - static_cast<DWORD>(iCorrection))) << i;
    ASSERT_EQ(values[i].dwTag, RUN_ID);
    ASSERT_EQ(values[i].dTurbidity, -1.0);
  }
}

// ---- what goes over the wire ----

TEST(Scan, WireOfWholeSpectra) {
  struct {
    bool bCoarse;
    Texts expected;
    std::size_t nPoints;
  } const cases[] = {
      {false,
       {"$M2161", "$S2400",                                                                    // to the start
        "$r2",    "$S50",   "$M2504", "$a3", "$d1", "$a3",     "$f7",     "$M2161", "$S2400",  // deuterium lamp
        "$F0",    "$g1",    "$H1",    "$a3", "$H0", "$A5",     "$s3888",                       // to 340 nm
        "$r1",    "$h2",    "$F1",    "$A9", "$H1", "$a3",     "$H0",     "$A5",    "$s4298",  // to 375 nm
        "$h1",    "$F2",    "$g0",    "$A9", "$H1", "$a3",     "$H0",     "$A5",    "$s5185",  // to 450 nm
        "$A9",    "$H1",    "$a3",    "$H0", "$A5", "$s6395",                                  // to 550 nm
        "$F3",    "$A9",    "$H1",    "$a3", "$H0", "$A5",     "$s11019",                      // to 900 nm
        "$A9",    "$H1",    "$a3",    "$H0", "$A5", "$s12525",                                 // to 1000 nm
        "$A9",    "$H1",    "$a3",    "$H0", "$A5", "$s14184",                                 // to 1100 nm
        "$r0",    "$h0"},
       12023},
      {true,
       {"$M2150",  "$S240", "$i10", "$r2",    "$S50", "$M2504",  "$a3",     "$d1",    "$a3", "$f7",    "$M2150",
        "$S240",   "$F0",   "$g1",  "$H1",    "$a3",  "$H0",     "$A5",     "$s3888", "$r1", "$h2",    "$F1",
        "$A9",     "$H1",   "$a3",  "$H0",    "$A5",  "$s4298",  "$h1",     "$F2",    "$g0", "$A9",    "$H1",
        "$a3",     "$H0",   "$A5",  "$s5185", "$A9",  "$H1",     "$a3",     "$H0",    "$A5", "$s6395", "$F3",
        "$A9",     "$H1",   "$a3",  "$H0",    "$A5",  "$s11019", "$A9",     "$H1",    "$a3", "$H0",    "$A5",
        "$s12525", "$A9",   "$H1",  "$a3",    "$H0",  "$A5",     "$s14235", "$r0",    "$h0"},
       1206},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bCoarse ? "coarse" : "fine");
    ReadyDevice device;
    device.world.transcript.Clear();
    const MeasureValues values = device.Run(ScanOf(Request(190, 1100, c.bCoarse)));
    EXPECT_EQ(device.world.Written(), c.expected);
    EXPECT_EQ(values.size(), c.nPoints);
    ExpectPositionsOfTheTable(values, c.bCoarse ? 10 : 1, 0);
    EXPECT_LE(values[0].dWavelength, 190.0);
    EXPECT_GE(values.back().dWavelength, 1100.0);
    Texts calls = device.world.sink.Calls();
    EXPECT_EQ(calls.front(), "OnNotify(9, 25, 0)");
    EXPECT_EQ(calls.back(), "OnNotify(9, 17, 100)");
    const auto isOther = [](const std::string& call) {
      return call.starts_with("OnResult") || call.starts_with("OnWarmUpCountdown");
    };
    std::erase_if(calls, isOther);
    EXPECT_EQ(calls, (Texts{"OnNotify(9, 25, 0)", "OnLampSwitching(1)", "OnLampSwitching(0)", "OnNotify(9, 17, 100)"}));
  }
}

TEST(Scan, LinesOfTheLogAndTheDebugOutput) {
  ReadyDevice device;
  device.world.transcript.Clear();
  device.Run(ScanOf(ACROSS_A_FILTER));
  Texts debug = device.world.transcript.Texts("debug");
  EXPECT_EQ(debug, (Texts{"[Scan] ----->  Thread started.", "Pump not in use !", "[Scan] >>>>>>>>>>>>>>>>>>>>",
                          "[Scan] [0] Expected= 60, Lamp= 1, Filter= 1, dwOffset= 0",
                          "[Scan] [0] bGain= TRUE, bHalogenHighPower= TRUE", "[Scan] [0] Command: [$s4298]",
                          "[Scan] CMD: $s4298 (exp 60 pts)", "[Scan] set ADSpeed to 5", "[Scan] >>>>>>>>>>>>>>>>>>>>",
                          "[Scan] [1] Expected= 62, Lamp= 1, Filter= 2, dwOffset= 60",
                          "[Scan] [1] bGain= FALSE, bHalogenHighPower= FALSE", "[Scan] [1] Command: [$s4360]",
                          "[Scan] CMD: $s4360 (exp 62 pts)", "[Scan] set ADSpeed to 5",
                          "[Scan]  Exit: iResult= 0, bCancel= FALSE", "[Scan] Thread closed with iResult= 0"}));
  EXPECT_EQ(device.world.LogLines("|  [Scan] ----->  Thread started.\n"), 1U);
  EXPECT_EQ(device.world.LogLines("|  [Scan] Thread closed with iResult= 0\n"), 1U);
}

TEST(Scan, PausesBeforeTheInfraredSegments) {
  ReadyDevice device;
  device.world.unit.ForgetCommands();
  device.Run(ScanOf(Request(895, 1002)));
  std::vector<std::uint64_t> pauses;
  const auto& commands = device.world.unit.Commands();
  for (std::size_t i = 1; i < commands.size(); ++i) {
    if (commands[i].strText.starts_with("$s")) {
      pauses.push_back((commands[i].time - commands[i - 1].time) / 1000);
    }
  }
  ASSERT_EQ(pauses.size(), 3U);
  EXPECT_LT(pauses[0], 100U);
  EXPECT_GE(pauses[1], 500U);
  EXPECT_GE(pauses[2], 500U);
}

TEST(Scan, FollowsTheCorrectionOfTheWavelengthTest) {
  for (const int iOffset : {-4, 0, 3}) {
    WorldOptions options;
    options.unit.positionOffset = iOffset;
    ReadyDevice device(options);
    for (const bool bCoarse : {false, true}) {
      SCOPED_TRACE(iOffset);
      const MeasureValues values = device.Run(ScanOf(Request(340, 900, bCoarse)));
      ExpectPositionsOfTheTable(values, bCoarse ? 10 : 1, iOffset);
      EXPECT_NEAR(static_cast<double>(values.size()), bCoarse ? 720 : 7140, 15);
    }
  }
}

TEST(Scan, CuvetteSizeIsThatOfTheStart) {
  ReadyDevice device;
  device->SetCuvetteSize(50);
  device.AtValue(3, [&] { device->SetCuvetteSize(10); });
  for (const MeasureValue& value : device.Run(ScanOf(ACROSS_A_FILTER))) {
    ASSERT_EQ(value.iCuvetteSize, 50);
  }
}

TEST(Scan, ValuesThatAreNotPositiveBecomeOne) {
  WorldOptions options;
  options.unit.noiseLevel = 0.0;
  options.unit.strayLight = 0.0;
  ReadyDevice device(options);
  device.world.unit.SetSample(Sample::NeutralGlass(12.0), device.world.board.Now());
  for (const MeasureValue& value : device.Run(ScanOf(ACROSS_A_FILTER))) {
    ASSERT_EQ(value.dValue, 1.0);
    ASSERT_GT(value.dValueRef, 100'000.0);
  }
}

TEST(Scan, TurbidityFollowsTheLastSegment) {
  ReadyDevice device;
  device.world.unit.SetSample(Sample::Blank().WithTurbidity(10.0), device.world.board.Now());
  device.world.transcript.Clear();
  ScanRequest request = ACROSS_A_FILTER;
  request.m_bTurbidity = TRUE;
  const MeasureValues values = device.Run(ScanOf(request));
  const Texts written = device.world.Written();
  const auto last = std::find(written.begin(), written.end(), "$s4360");
  EXPECT_EQ(Texts(last, written.end()),
            (Texts{"$s4360", "$A9", "$H1", "$T1", "$G0", "$t", "$T3", "$G1", "$t", "$H0", "$r0", "$h0"}));
  ASSERT_EQ(values.size(), BOTH_POINTS + 2);
  for (DWORD dwTag = 1; dwTag <= 2; ++dwTag) {
    const MeasureValue& value = values[BOTH_POINTS - 1 + dwTag];
    EXPECT_EQ(value.dwTag, dwTag);
    EXPECT_EQ(value.dwPosition, values[BOTH_POINTS - 1].dwPosition);
    EXPECT_EQ(value.dWavelength, 860.0);
    EXPECT_EQ(value.dValue, 1.0);
    EXPECT_EQ(value.dValueRef, 1.0);
    EXPECT_NEAR(value.dTurbidity, (dwTag == 1 ? 1.0 : 72.0) * 4200.0, 20.0 * (dwTag == 1 ? 1 : 72));
  }
}

// ---- what goes in comes out ----

/// Absorbance of a spectrum against that of a blank.
double Absorbance(const MeasureValue& value, const MeasureValue& blank) {
  return -std::log10(value.dValue / value.dValueRef * blank.dValueRef / blank.dValue);
}

/// Deviations of a measured spectrum from the truth, in standard deviations.
class Deviations {
 public:
  void Add(double dScore) {
    ++m_nPoints;
    m_nBeyondThree += std::fabs(dScore) > 3.0 ? 1 : 0;
    m_dWorst = std::max(m_dWorst, std::fabs(dScore));
    m_dSum += dScore;
  }
  /// At most one in a hundred beyond three standard deviations, and none beyond five.
  [[nodiscard]] bool IsNoise() const { return m_nBeyondThree <= m_nPoints / 100 && m_dWorst <= 5.0; }
  [[nodiscard]] int Points() const { return m_nPoints; }
  /// Mean, in standard deviations.
  [[nodiscard]] double Bias() const { return m_dSum / m_nPoints; }

 private:
  int m_nPoints = 0;
  int m_nBeyondThree = 0;
  double m_dWorst = 0.0;
  double m_dSum = 0.0;
};

/// A blank's and a sample's spectrum of the same range.
struct Spectra {
  MeasureValues blank;
  MeasureValues sample;
};

Spectra Record(ReadyDevice& device, const ScanRequest& request, const Sample& sample) {
  Spectra spectra;
  device.world.unit.SetSample(Sample::Blank(), device.world.board.Now());
  spectra.blank = device.Run(ScanOf(request));
  device.world.unit.SetSample(sample, device.world.board.Now());
  spectra.sample = device.Run(ScanOf(request));
  return spectra;
}

/// Wavelength of the maximum near `dNear`, nm, from the parabola through the points around it.
double Peak(const Spectra& spectra, double dNear, double dHalfWidth) {
  double s0 = 0, s1 = 0, s2 = 0, s3 = 0, s4 = 0, t0 = 0, t1 = 0, t2 = 0;
  for (std::size_t i = 0; i < spectra.sample.size(); ++i) {
    const double x = spectra.sample[i].dWavelength - dNear;
    if (std::fabs(x) > dHalfWidth) {
      continue;
    }
    const double y = Absorbance(spectra.sample[i], spectra.blank[i]);
    s0 += 1, s1 += x, s2 += x * x, s3 += x * x * x, s4 += x * x * x * x;
    t0 += y, t1 += x * y, t2 += x * x * y;
  }
  const double b = s0 * (t1 * s4 - t2 * s3) - s1 * (t0 * s4 - t2 * s2) + s2 * (t0 * s3 - t1 * s2);
  const double a = s0 * (s2 * t2 - s3 * t1) - s1 * (s1 * t2 - s3 * t0) + s2 * (s1 * t1 - s2 * t0);
  return dNear - b / (2.0 * a);
}

/// Deviations of the absorbances, each at the wavelength at which its point was taken.
Deviations Compare(ReadyDevice& device, const Spectra& spectra, int iOffset) {
  const std::vector<double> edges = {340, 375, 450, 550, 900, 1000};
  constexpr double EDGE = 0.5;
  Deviations deviations;
  for (std::size_t i = 0; i < spectra.sample.size(); ++i) {
    const MeasureValue& blank = spectra.blank[i];
    const double wl = blank.dWavelength;
    if (std::ranges::any_of(edges, [wl](double dEdge) { return std::fabs(wl - dEdge) < EDGE; })) {
      continue;
    }
    const double dTrue = simulator::WavelengthPolynomial{}.At(static_cast<int>(blank.dwPosition) - iOffset);
    const double dExpected = device.world.unit.ApparentAbsorbance(dTrue, device.world.board.Now());
    const simulator::AbsorbanceConditions conditions{.bHighGain = wl < 375.0, .lightReadings = 1.0};
    const double dSigma = simulator::AbsorbanceStandardDeviation(
        blank.dValue * std::pow(10.0, -dExpected), blank.dValueRef, blank.dValue, blank.dValueRef, conditions);
    deviations.Add((Absorbance(spectra.sample[i], blank) - dExpected) / dSigma);
  }
  return deviations;
}

TEST(Scan, SpectrumOfADye) {
  struct {
    const char* dye;
    double dPeak;
  } const cases[] = {{"yellow", 430}, {"red", 525}, {"blue", 620}};
  double dBias = 0.0;
  int nRuns = 0;
  for (const auto& c : cases) {
    for (int iSeed = 1; iSeed <= 4; ++iSeed) {
      SCOPED_TRACE(std::string(c.dye) + ", seed " + std::to_string(iSeed));
      WorldOptions options;
      options.unit.seed = static_cast<std::uint64_t>(iSeed);
      options.unit.positionOffset = iSeed - 2;
      ReadyDevice device(options);
      const Sample sample = Sample::Dye(c.dye, 1.0);
      const Spectra fine = Record(device, Request(340, 900), sample);
      const Deviations deviations = Compare(device, fine, options.unit.positionOffset);
      EXPECT_GT(deviations.Points(), 7000);
      EXPECT_TRUE(deviations.IsNoise());
      EXPECT_NEAR(Peak(fine, c.dPeak, 10.0), c.dPeak, 0.085);
      const Spectra coarse = Record(device, Request(340, 900, true), sample);
      EXPECT_NEAR(Peak(coarse, c.dPeak, 10.0), c.dPeak, 1.0);
      dBias += deviations.Bias();
      ++nRuns;
    }
  }
  // All points of a segment share its dark value, whose noise is a fifth of a point's: the runs scatter by that much.
  EXPECT_LT(std::fabs(dBias / nRuns), 0.1);
}

TEST(Scan, SpectrumOfTheWholeRange) {
  ReadyDevice device;
  const Sample sample = Sample::Bands({{260, 0.8, 20}, {360, 0.5, 10}, {525, 1.0, 30}, {950, 0.4, 40}});
  const Spectra spectra = Record(device, Request(200, 1090), sample);
  const Deviations deviations = Compare(device, spectra, 0);
  EXPECT_GT(deviations.Points(), 11500);
  EXPECT_TRUE(deviations.IsNoise());
  EXPECT_NEAR(Peak(spectra, 260, 8.0), 260, 0.1);
}

TEST(Scan, BrokenPartsSpoilTheSpectrum) {
  struct {
    const char* what;
    simulator::InstrumentFaults faults;
  } cases[] = {{"shift by 1 nm", {}}, {"leaking filter", {}}, {"lamp dead", {}}, {"shutter stuck", {}}};
  cases[0].faults.slippedSteps = 12;
  cases[1].faults.filterLeak.fill(0.3);
  cases[2].faults.halogenLevel = 0.0;
  cases[3].faults.stuckShutter = true;
  for (const auto& c : cases) {
    ReadyDevice device;
    const ScanRequest request = Request(500, 560);
    Spectra spectra;
    spectra.blank = device.Run(ScanOf(request));
    device.world.unit.SetSample(Sample::Dye("red", 1.0), device.world.board.Now());
    device.world.unit.SetFaults(c.faults);
    spectra.sample = device.Run(ScanOf(request));
    EXPECT_FALSE(Compare(device, spectra, 0).IsNoise()) << c.what;
  }
}

// ---- the bytes behind the last point ----

/// Bytes that came in after each "$s..." and before the next command.
Texts StreamsOf(const World& world) {
  Texts streams;
  bool bInStream = false;
  for (const std::string& line : world.transcript.Lines()) {
    const std::size_t nChannel = line.find('\t') + 1;
    const std::string rest = line.substr(nChannel);
    if (rest.starts_with("COM2>\t")) {
      bInStream = rest.starts_with("COM2>\t$s");
      if (bInStream) {
        streams.emplace_back();
      }
    } else if (bInStream && rest.starts_with("COM2<\t")) {
      streams.back() += rest.substr(6);
    }
  }
  return streams;
}

TEST(Scan, LateBytesBehindTheLastPoint) {
  ScanRequest whole = Request(190, 1100, true);
  for (const simulator::Time delay : {simulator::Time{3'000}, simulator::Time{100'000}, simulator::Time{1'900'000}}) {
    SCOPED_TRACE(delay);
    ReadyDevice device;
    device.world.unit.WireFaults().Add({.kind = FaultKind::LateTrailer, .letter = 's', .delay = delay});
    device.world.transcript.Clear();
    const MeasureValues values = device.Run(ScanOf(whole));
    EXPECT_EQ(values.size(), 1206U);
    EXPECT_EQ(device.Notified(FINISHED), 1U);
    const Texts streams = StreamsOf(device.world);
    EXPECT_EQ(streams.size(), 7U);
    for (const std::string& stream : streams) {
      EXPECT_TRUE(stream.ends_with("ok\\x0D"));
    }
  }
}

TEST(Scan, MissingBytesBehindTheLastPoint) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::NoTrailer, .letter = 's'});
  const MeasureValues values = device.Run(ScanOf(ACROSS_A_FILTER));
  EXPECT_EQ(values.size(), BOTH_POINTS);
  EXPECT_EQ(device.Notified(FINISHED), 1U);
}

// ---- failures ----

struct FailureCase {
  const char* what;
  /// Breaks the second segment.
  std::function<void(ReadyDevice&)> prepare;
  LONG iResult;
  const char* line;
  /// Points of both segments that the host gets.
  std::size_t nLowest;
  std::size_t nHighest;
  bool bPortIsGone = false;
};

/// Befalls the second scan command from now on.
std::function<void(ReadyDevice&)> InTheSecond(simulator::Fault fault) {
  fault.letter = 's';
  fault.nth = 2;
  return [fault](ReadyDevice& device) { device.world.unit.WireFaults().Add(fault); };
}

std::vector<FailureCase> FailureCases() {
  return {
      {"no answer", InTheSecond({.kind = FaultKind::Silence}), 322, "[Scan] Timeout: received 0 pts, 62 expected\n",
       FIRST_POINTS, FIRST_POINTS},
      {"stops short", InTheSecond({.kind = FaultKind::StopAfter, .count = 20}), 322,
       "[Scan] Timeout: received 20 pts, 62 expected\n", FIRST_POINTS + 20, FIRST_POINTS + 20},
      {"loses a point", InTheSecond({.kind = FaultKind::Lost, .count = 6, .first = 30}), 322,
       "[Scan] Timeout: received 61 pts, 62 expected\n", BOTH_POINTS - 1, BOTH_POINTS - 1},
      {"one point too many", InTheSecond({.kind = FaultKind::SurplusPoints, .count = 1}), 323,
       "[Scan] Too much data: ", BOTH_POINTS - 2, BOTH_POINTS - 1},
      {"one point too many, whose first half looks like the end",
       [](ReadyDevice& device) {
         InTheSecond({.kind = FaultKind::SurplusPoints, .count = 1})(device);
         InTheSecond({.kind = FaultKind::Split, .delay = 3'000, .count = 62 * READING_BYTES + 3})(device);
       },
       323, "[Scan] Too much data: ", BOTH_POINTS - 2, BOTH_POINTS - 1},
      {"many points too many", InTheSecond({.kind = FaultKind::SurplusPoints, .count = 100}), 323,
       "[Scan] Too much data: ", BOTH_POINTS - 2, BOTH_POINTS - 1},
      {"answers error", InTheSecond({.kind = FaultKind::Error}), 324, "[Scan] received 'error' \n", FIRST_POINTS,
       FIRST_POINTS},
      {"answers error in the middle",
       [](ReadyDevice& device) {
         device.AtValue(90, [&] { device.world.unit.EmitUnasked("error\r\n", device.world.board.Now()); });
       },
       324, "[Scan] received 'error' \n", 90, 95},
      {"command cannot be written",
       [](ReadyDevice& device) {
         device.world.ports.beforeWrite = [&ports = device.world.ports](std::string_view bytes) {
           if (bytes.starts_with("$s4360")) {
             ports.writes.Start(1);
           }
         };
       },
       325, "[ScanProc] ", FIRST_POINTS, FIRST_POINTS},
      {"port vanishes in the middle",
       [](ReadyDevice& device) { device.AtValue(90, [&] { device.world.board.UnplugPort(World::PORT); }); }, 322,
       "[Scan] Timeout: received ", 90, 95, true},
  };
}

/// A failed run under a policy, and the run after it.
void ExpectFailure(const FailureCase& c, platform::Policy policy) {
  WorldOptions options;
  options.board.policy = policy;
  ReadyDevice device(options);
  const MeasureValues expected = device.Run(ScanOf(ACROSS_A_FILTER));
  device.world.transcript.Clear();
  c.prepare(device);
  const MeasureValues values = device.Run(ScanOf(ACROSS_A_FILTER));
  EXPECT_GE(values.size(), c.nLowest);
  EXPECT_LE(values.size(), c.nHighest);
  const std::string strNumber = std::to_string(c.iResult);
  EXPECT_EQ(device.world.sink.Calls().back(), "OnError(0, " + strNumber + ")");
  EXPECT_EQ(device.Errors().size(), 1U);
  EXPECT_EQ(device.Notified(FINISHED) + device.Notified(CANCELLED), 0U);
  EXPECT_EQ(device.world.LogLines(c.line), 1U) << c.line;
  EXPECT_EQ(device.world.LogLines("[ScanProc] SetADSpeed returned " + strNumber + "\n"), 1U);
  EXPECT_EQ(device.world.LogLines("[Scan] Thread closed with iResult= " + strNumber + "\n"), 1U);
  device.world.unit.WireFaults().Clear();
  device.world.ports.beforeWrite = nullptr;
  if (c.bPortIsGone) {
    device.world.Plug();
    device.Restart();
  } else {
    device.ExpectDark();
  }
  ExpectSameValues(device.Run(ScanOf(ACROSS_A_FILTER)), expected);
  EXPECT_EQ(device.Notified(FINISHED), 1U);
}

TEST(Scan, Failures) {
  for (const FailureCase& c : FailureCases()) {
    for (const platform::Policy policy : {platform::Policy::FirstCome, platform::Policy::Random}) {
      SCOPED_TRACE(std::string(c.what) + (policy == platform::Policy::Random ? ", random" : ""));
      ExpectFailure(c, policy);
    }
  }
}

TEST(Scan, FailedCommandEndsTheRun) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::Error, .letter = 'F', .nth = 2});
  EXPECT_EQ(device.Run(ScanOf(ACROSS_A_FILTER)).size(), FIRST_POINTS);
  EXPECT_EQ(device.Errors(), Texts{"OnError(0, 4)"});
  EXPECT_EQ(device.world.LogLines("[ScanProc] SetFilter returned 4\n"), 1U);
}

// ---- cancel ----

TEST(Scan, CancelledAtManyPoints) { ExpectCancellable(ScanOf(ACROSS_A_FILTER), 150); }

TEST(Scan, CancelledWhileTheStreamRuns) {
  struct {
    const char* what;
    std::size_t nCancelled;
    std::size_t nPoints;
  } const cases[] = {{"first segment", 10, FIRST_POINTS}, {"last segment", 100, BOTH_POINTS}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ReadyDevice device;
    device.AtValue(c.nCancelled, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
    EXPECT_EQ(device.Run(ScanOf(ACROSS_A_FILTER)).size(), c.nPoints);
    EXPECT_EQ(device.Notified(CANCELLED), 1U);
    EXPECT_EQ(device.Notified(FINISHED), 0U);
    EXPECT_TRUE(device.Errors().empty());
    EXPECT_EQ(device.world.LogLines("[Scan] Scan has been canceled !\n"), 1U);
    EXPECT_EQ(device.world.LogLines("[ScanProc] SetADSpeed returned 326\n"), 1U);
    EXPECT_EQ(device.world.LogLines("[Scan] Canceled by user... iResult= 326\n"), 1U);
    EXPECT_EQ(device.world.LogLines("[Scan] Thread closed with iResult= 0\n"), 1U);
    device.world.transcript.Clear();
    EXPECT_EQ(device.Run(ScanOf(ACROSS_A_FILTER)).size(), BOTH_POINTS);
    EXPECT_EQ(device.world.Written()[1], "$M4238") << "where a cancelled scan stands does not count";
  }
}

TEST(Scan, ShutdownInTheStreamIsNoTimeOut) {
  ReadyDevice device;
  std::atomic<bool> bStreams{false};
  device.AtValue(10, [&] { bStreams = true; });
  ASSERT_EQ(ScanOf(ACROSS_A_FILTER)(*device.operator->()), S_OK);
  for (int i = 0; i < 60'000 && !bStreams; ++i) {
    platform::Sleep(1);
  }
  device->Shutdown();
  EXPECT_EQ(device.world.LogLines("[Scan] Thread closed with iResult= 322\n"), 1U);
  EXPECT_EQ(device.world.LogLines("[Scan] Timeout"), 0U);
  EXPECT_EQ(device.world.LogLines("[ScanProc] "), 0U);
}

TEST(Scan, FailureAfterACancelIsTheCancels) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::StopAfter, .letter = 's', .nth = 1, .count = 20});
  device.AtValue(10, [&] { device->CancelMeasurement(); });
  EXPECT_EQ(device.Run(ScanOf(ACROSS_A_FILTER)).size(), 20U);
  EXPECT_EQ(device.Notified(CANCELLED), 1U);
  EXPECT_TRUE(device.Errors().empty());
  EXPECT_EQ(device.world.LogLines("[Scan] Timeout: received 20 pts, 60 expected\n"), 1U);
}

TEST(Scan, CancelDuringTheSilenceOfACommand) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::Silence, .letter = 'F', .nth = 1});
  const Start start = ScanOf(ACROSS_A_FILTER);
  device.Run([&](IPhotometer& photometer) {
    const HRESULT result = start(photometer);
    platform::Sleep(30'000);
    EXPECT_EQ(photometer.CancelMeasurement(), S_OK);
    return result;
  });
  EXPECT_EQ(device.Notified(CANCELLED), 1U);
  EXPECT_TRUE(device.Errors().empty());
}

TEST(Scan, CancelAfterTheEndWasDecidedChangesNothing) {
  ReadyDevice device;
  device.world.sink.On("OnNotify(9, 17", [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
  EXPECT_EQ(device.Run(ScanOf(ACROSS_A_FILTER)).size(), BOTH_POINTS);
  EXPECT_EQ(device.Notified(FINISHED), 1U);
  EXPECT_EQ(device.Notified(CANCELLED), 0U);
}

// ---- the start, and any order of events ----

TEST(Scan, StartIsRefusedWhileBusy) {
  World world;
  Device device(world);
  const ScanRequest request = ACROSS_A_FILTER;
  EXPECT_EQ(device->StartScan(nullptr), E_POINTER);
  ASSERT_TRUE(device.StartUp());
  ASSERT_EQ(device->StartScan(&request), S_OK);
  EXPECT_EQ(device->StartScan(&request), E_ACCESSDENIED);
  EXPECT_TRUE(device.WaitUntilNotBusy());
  world.kernel.threads.Start(1);
  EXPECT_EQ(device->StartScan(&request), E_FAIL) << "no thread";
  EXPECT_FALSE(device->GetStatus().bBusy);
  device->Shutdown();
  EXPECT_EQ(device->StartScan(&request), E_ACCESSDENIED) << "after Shutdown";
}

TEST(Scan, TableWithoutTheRangeIsRefused) {
  World world;
  Device device(world);
  PhotometerParameters params = DefaultParameters();
  params.dA = params.dB = 0.0;
  params.dC = -params.dC;
  params.dD = 1.4e9;
  const CalibrationData calibration = DefaultCalibration();
  ASSERT_EQ(device->Initialize(&params, &calibration), S_OK);
  EXPECT_TRUE(device.WaitUntilNotBusy());
  const ScanRequest request = ACROSS_A_FILTER;
  EXPECT_EQ(device->StartScan(&request), E_INVALIDARG);
}

TEST(Scan, RangeThatTheTableDoesNotGive) {
  const auto parameters = [](double dB, double dC, double dD) {
    PhotometerParameters params = DefaultParameters();
    params.dA = 0.0;
    params.dB = dB;
    params.dC = dC;
    params.dD = dD;
    return params;
  };
  struct {
    const char* what;
    PhotometerParameters params;
    bool bHas;
  } const cases[] = {
      {"rising", DefaultParameters(), true},
      {"falling", parameters(0.0, -9e4, 1.4e9), false},
      // From 599.942 nm on it still rises to 600 nm; a step below it, the nearest position is behind the turn.
      {"turning", parameters(-1e4, 160'006'000.0, -639'448'000'900.0), false},
  };
  World world;
  for (const auto& c : cases) {
    DeviceState state;
    WavelengthModel model(state);
    EXPECT_TRUE(HasScanWavelengths(Request(599.942, 600.0), model)) << "without a table nobody can tell";
    state.Lock()->m_Params = c.params;
    ASSERT_TRUE(model.BuildTable()) << c.what;
    EXPECT_EQ(HasScanWavelengths(Request(599.942, 600.0), model), c.bHas) << c.what;
    model.FreeTable();
  }
}

TEST(Scan, AnyOrderOfEventsAndAnySplitOfTheBytes) {
  const MeasureValues expected = ReadyDevice().Run(ScanOf(ACROSS_A_FILTER));
  for (std::uint64_t nSeed = 1; nSeed <= 30; ++nSeed) {
    SCOPED_TRACE(nSeed);
    WorldOptions options;
    options.board.seed = options.unit.seed = nSeed;
    options.board.policy = platform::Policy::Random;
    options.bAtOnce = nSeed % 2 == 0;
    ReadyDevice device(options);
    ExpectSameValues(device.Run(ScanOf(ACROSS_A_FILTER)), expected);
    EXPECT_EQ(device.Notified(FINISHED), 1U);
  }
}

}  // namespace
}  // namespace photometer::tests
