#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calibration/SelfTestBench.h"
#include "calibration/StartUp.h"
#include "procedures/AbsorbanceCriterion.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

constexpr const char* WAVELENGTH_TEST_PASSES = "5/100";
constexpr const char* RESTARTING = "[InitProc] Restarting WAVELENGTH Test because error occurred ...";

/// One zero value with the high gain, one with the normal gain.
const std::vector<double> TWO_WAVELENGTHS{365.0, 525.0};

/// The lines of a procedure in the device log, without their stamps.
std::string LogOf(const World& world, const std::string& procedure) {
  std::string lines;
  for (const std::string& line : world.transcript.Texts("log")) {
    lines += line.find(procedure) == std::string::npos ? "" : line.substr(line.find("|  ") + 3) + "\n";
  }
  return lines;
}

bool MeasuresGlassRight(Bench& bench) {
  return MeasuresRight(bench.world, bench.device, simulator::Sample::NeutralGlass(0.5));
}

// ---- the whole ----

TEST(StartUp, DoesAllThisInThisOrder) {
  Bench bench({.positionOffset = 4});
  ASSERT_TRUE(bench.StartUp(TWO_WAVELENGTHS));

  EXPECT_EQ(Joined(bench.world.Written()),
            "$v $o1 "                                                  // before the thread
            "$H0 $F0 $r1 $z "                                          // lamp test
            "$r1 $i1 $g0 "                                             // wavelength test
            "$S50 $M4106 $S38400 $A9 $H1 $a3 $H0 $h2 $s4153 $h0 "      // open pass
            "$F6 $S50 $M4106 $S38400 $H1 $a3 $H0 $h2 $s4153 $h0 $r0 "  // filter pass
            "$r1 $S50 "                                                // zero measurement
            "$F1 $g1 $M4183 $h2 $H1 $a3 $H0 $a3 $h0 "                  // 365 nm
            "$F2 $g0 $M6092 $h1 $H1 $a3 $H0 $a3 $h0 "                  // 525 nm
            "$r0");
  EXPECT_EQ(bench.Calls(),
            "10/0 43/0 1/0 4/0 7/0 "   // started
            "1/10 1/100 2/100 "        // lamp test
            "4/50 4/75 4/100 5/100 "   // wavelength test
            "7/50 7/100 7/100 8/100 "  // zero measurement
            "11/100 OnReferenceValues(2) 43/1 39/0");
  EXPECT_EQ(LogOf(bench.world, "InitProc"),
            "Starting Thread [InitProc] ...\n"
            "[InitProc] Starting LAMP Test...\n"
            "[InitProc] LAMP Test finished...  OK\n"
            "[InitProc] Starting WAVELENGTH Test... \n"
            "[InitProc] Find Peak at Index 27 [361.03 nm]  =>  iOffset= 4\n"
            "[InitProc] range offset OK =>  set current m_iPositionOffset= 4 (old Position= 0)\n"
            "[InitProc] WAVELENGTH Test finished... \n"
            "[InitProc] Starting ZERO MEASUREMENT...\n"
            "[InitProc] ZERO MEASUREMENT finished...\n"
            "[InitProc] Thread finished.\n");
  EXPECT_EQ(DebugLines(bench.world, u"[InitProc] dwPosition1= 4106, dwFilterPos= 4129"), 1U);
  EXPECT_EQ(DebugLines(bench.world, u"[InitProc] [ 1] 525.0 nm:  Value="), 1U);

  const std::vector<WavelengthCalibrationEntry> zeros = bench.world.sink.References();
  ASSERT_EQ(zeros.size(), 2U);
  for (std::size_t i = 0; i < zeros.size(); ++i) {
    EXPECT_EQ(zeros[i].dWavelength, TWO_WAVELENGTHS[i]);
    EXPECT_GT(zeros[i].dValue, SOUND_LIGHT);
    EXPECT_GT(zeros[i].dValueRef, SOUND_LIGHT);
    WavelengthCalibrationEntry entry{};
    EXPECT_EQ(bench.device->GetWavelengthCalibration(TWO_WAVELENGTHS[i], &entry), S_OK);
    EXPECT_EQ(entry.dValue, zeros[i].dValue);
  }
}

// ---- the offset ----

TEST(StartUp, FindsTheOffsetExactly) {
  for (int iOffset = -15; iOffset <= 15; iOffset += 3) {
    for (const bool bUV : {true, false}) {
      SCOPED_TRACE("offset " + std::to_string(iOffset) + ", bUV " + std::to_string(bUV));
      Bench bench({.seed = static_cast<std::uint64_t>(iOffset + 100), .bUV = bUV, .positionOffset = iOffset});
      EXPECT_TRUE(bench.StartUp({525.0}));
      EXPECT_EQ(bench.world.LogLines("set current m_iPositionOffset= " + std::to_string(iOffset) + " (old"), 1U);
      EXPECT_TRUE(MeasuresRight(bench.world, bench.device, simulator::Sample::Dye("red", 0.7)));
    }
  }
}

TEST(StartUp, ALostAnswerOfTheFilterWheelDoesNotShiftTheOffset) {
  Bench bench({.positionOffset = 4});
  // The wheel stands at the holmium filter then: the open pass of the next attempt must not be taken through it.
  bench.AddFault({.kind = FaultKind::SilentExecution, .letter = 'F', .nth = 2});
  EXPECT_TRUE(bench.StartUp({525.0}));
  EXPECT_EQ(bench.world.LogLines("set current m_iPositionOffset= 4 (old"), 1U);
}

TEST(StartUp, RefusesALargerOffset) {
  for (const int iOffset : {-30, -17, -16, 16, 17, 20}) {
    SCOPED_TRACE(iOffset);
    Bench bench({.positionOffset = iOffset});
    EXPECT_FALSE(bench.StartUp({525.0}));
    EXPECT_THAT(bench.Calls(), testing::EndsWith(" 2/100 4/50 4/75 4/75 4/50 4/75 4/75 4/50 4/75 4/75 4/100 6/100 "
                                                 "OnError(0, 4294967294) 12/4294967294 43/1 39/0"));
    EXPECT_EQ(bench.world.LogLines(RESTARTING), 3U);
    EXPECT_EQ(bench.world.LogLines("[InitProc] Aborted WAVELENGTH Test because error occurred ..."), 1U);
    if (std::abs(iOffset) <= 20) {  // beyond, the peak is outside the spectrum
      EXPECT_EQ(bench.world.LogLines("iOffset= " + std::to_string(iOffset) + "\n"), 3U);
    }
    EXPECT_EQ(ErrorRecords(bench.world), Texts{"[InitProc] SetHalogenLamp returned -2"});
  }
}

TEST(StartUp, KeepsTheOffsetOfTheLastTestThatPassed) {
  Bench bench({.positionOffset = 4});
  ASSERT_TRUE(bench.StartUp({525.0}));
  bench.device->Shutdown();
  bench.world.unit.SetFaults({.slippedSteps = -7});
  ASSERT_TRUE(bench.StartUp({525.0}));
  EXPECT_EQ(bench.world.LogLines("set current m_iPositionOffset= -3 (old Position= 4)"), 1U);
}

TEST(StartUp, ShutdownInTheWavelengthTestIsNoFailedAttempt) {
  Bench bench;
  ASSERT_EQ(bench.device.Initialize(), S_OK);
  while (bench.Count("4/50") == 0) {
    Sleep(10);
  }
  bench.device->Shutdown();
  EXPECT_EQ(bench.world.LogLines("WAVELENGTH Test because error occurred ..."), 0U);
  EXPECT_EQ(ErrorRecords(bench.world), Texts{});
  EXPECT_FALSE(bench.IsInitialized());
}

// ---- cuvettes ----

TEST(StartUp, AsksForTheRemovalOfACuvetteAtEachStage) {
  struct {
    const char* inserted;
    /// The last callback before the host is asked.
    const char* before;
    std::size_t nRestarts;
  } const cases[] = {
      {"7/0", "7/0", 0},     {"1/10", "2/100", 0}, {"4/50", "5/100", 1},
      {"5/100", "5/100", 1}, {"7/33", "7/33", 1},  {"7/66", "7/66", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.inserted);
    Bench bench;
    bool bOnce = false;
    bench.On(c.inserted, [&] {
      if (!std::exchange(bOnce, true)) {
        bench.Insert(10);
        bench.world.unit.SetSample(simulator::Sample::NeutralGlass(1.0), bench.world.board.Now());
      }
    });
    bench.On("31/1", [&] {
      bench.world.holder.Remove(bench.world.board.Now() + 3'000'000);
      bench.world.unit.SetSample(simulator::Sample::Blank(), bench.world.board.Now());
    });
    ASSERT_TRUE(bench.StartUp(THREE_WAVELENGTHS));
    EXPECT_THAT(bench.Calls(), testing::HasSubstr(std::string(c.before) + " 31/1 32/1 "));
    EXPECT_EQ(bench.world.LogLines("[InitProc] Restarting ZERO MEASUREMENT ... "), c.nRestarts);
    EXPECT_EQ(bench.Count("32/1"), 1U);
    EXPECT_EQ(bench.world.sink.References().size(), 3U);
    EXPECT_TRUE(MeasuresGlassRight(bench));
  }
}

TEST(StartUp, DoesNotWaitWhenTheHostDoesNotWantIt) {
  Bench bench;
  bench.world.sink.SkipCuvetteWait();
  bench.world.holder.Insert(10, 0);
  EXPECT_TRUE(bench.StartUp(TWO_WAVELENGTHS));
  // Before the lamp test, the spectrum, each wavelength and each try.
  EXPECT_EQ(bench.Count("QueryCuvetteWait()"), 6U);
  EXPECT_EQ(bench.Count("31/1") + bench.Count("32/1"), 0U);
}

// ---- failures ----

void ExpectFailedWith(Bench& bench, LONG iNumber, const std::string& command) {
  const std::string number = std::to_string(static_cast<DWORD>(iNumber));
  EXPECT_FALSE(bench.IsInitialized());
  EXPECT_THAT(bench.Calls(), testing::EndsWith("OnError(0, " + number + ") 12/" + number + " 43/1 39/0"));
  EXPECT_EQ(bench.Count("11/100"), 0U);
  EXPECT_EQ(ErrorRecords(bench.world), Texts{"[InitProc] " + command + " returned " + std::to_string(iNumber)});
  EXPECT_THAT(Joined(bench.world.Written()), testing::EndsWith(" $  $r0 $d0 $h0 $f0"));
}

void ExpectSecondTrySucceeds(Bench& bench) {
  bench.world.unit.WireFaults().Clear();
  bench.world.unit.SetFaults({});
  bench.On(WAVELENGTH_TEST_PASSES, nullptr);
  EXPECT_TRUE(bench.StartUp(TWO_WAVELENGTHS));
  EXPECT_TRUE(MeasuresGlassRight(bench));
}

TEST(StartUp, EndsWithTheNumberOfTheCommandThatFails) {
  enum Stage { LAMP, SPECTRUM, ZERO };
  struct {
    char letter;
    Stage stage;
    const char* command;
    LONG iError, iSilence;
  } const cases[] = {
      {'H', LAMP, "SetShutter", 24, 22},
      {'F', LAMP, "SetFilter", 4, 2},
      {'r', LAMP, "SetMirror", 54, 52},
      {'z', LAMP, "SetHomePosition", 84, 82},
      // A spectrum that fails three times is as good as a wrong offset.
      {'M', SPECTRUM, "MoveMonochromator", -2, -2},
      {'a', SPECTRUM, "GetADValue", -2, -2},
      {'s', SPECTRUM, "Scan", -2, -2},
      {'r', ZERO, "SetMirror", 54, 52},
      {'M', ZERO, "MoveMonochromator", 114, 112},
      {'h', ZERO, "SetHalogenLamp", 64, 62},
      // "error" is no reading, and what follows it is silence.
      {'a', ZERO, "GetADValue", 132, 132},
  };
  for (const auto& c : cases) {
    for (const FaultKind kind : {FaultKind::Error, FaultKind::Silence}) {
      const bool bError = kind == FaultKind::Error;
      SCOPED_TRACE(std::string(c.command) + (bError ? " error" : " silence") + " in stage " + std::to_string(c.stage));
      Bench bench;
      if (c.stage == ZERO) {
        bench.On(WAVELENGTH_TEST_PASSES, [&] { bench.AddFault({kind, c.letter}); });
      } else {
        bench.AddFault({kind, c.letter});
      }
      EXPECT_FALSE(bench.StartUp(TWO_WAVELENGTHS));
      ExpectFailedWith(bench, bError ? c.iError : c.iSilence, c.command);
      EXPECT_EQ(bench.Count("3/100"), c.letter == 'z' ? 1U : 0U);
      EXPECT_EQ(bench.world.LogLines("[InitProc] LAMP Test finished... NOT OK"), c.letter == 'z' ? 1U : 0U);
      ExpectSecondTrySucceeds(bench);
    }
  }
}

TEST(StartUp, PassesWithoutZeroWavelengths) {
  Bench bench;
  EXPECT_TRUE(bench.StartUp({}));
  EXPECT_THAT(bench.Calls(), testing::EndsWith(" 5/100 7/100 8/100 11/100 OnReferenceValues(0) 43/1 39/0"));
  WavelengthCalibrationEntry entry{};
  EXPECT_EQ(bench.device->GetWavelengthCalibration(525.0, &entry), E_FAIL);
}

TEST(StartUp, TakesTenTriesForAZeroValue) {
  for (const std::uint32_t nInvalid : {9U, 10U}) {
    SCOPED_TRACE(nInvalid);
    Bench bench;
    bench.On(WAVELENGTH_TEST_PASSES, [&] {
      bench.Forget();
      for (std::uint32_t n = 0; n < nInvalid; ++n) {  // dark readings that are brighter than any light
        bench.AddFault({.kind = FaultKind::Garbage, .letter = 'a', .nth = 2 * n + 1, .bytes = std::string(18, '\xFF')});
      }
    });
    const bool bPasses = nInvalid < 10;
    EXPECT_EQ(bench.StartUp(TWO_WAVELENGTHS), bPasses);
    EXPECT_EQ(bench.Commands("$a3"), bPasses ? 2 * (9 + 2) : 2 * 10);
    if (bPasses) {
      EXPECT_EQ(ErrorRecords(bench.world), Texts{});
      EXPECT_TRUE(MeasuresGlassRight(bench));
    } else {
      ExpectFailedWith(bench, NO_ZERO_READING, "GetADValue");
      ExpectSecondTrySucceeds(bench);
    }
  }
}

// ---- faults of the instrument ----

/// The values of a sound instrument, within five standard deviations of their noise.
bool AreSound(const std::vector<WavelengthCalibrationEntry>& zeros,
              const std::vector<WavelengthCalibrationEntry>& sound) {
  return std::equal(zeros.begin(), zeros.end(), sound.begin(), sound.end(), [](const auto& zero, const auto& other) {
    const auto variance = [&other](double dLight) {
      return simulator::Detector::ReadingVariance(dLight + 1600.0, other.dWavelength < HIGH_GAIN_BELOW, 1.0) / 3.0;
    };
    const auto agree = [&](double d, double dSound) {
      return std::fabs(d - dSound) <= 5.0 * std::sqrt(2.0 * (variance(dSound) + variance(0.0)));
    };
    return agree(zero.dValue, other.dValue) && agree(zero.dValueRef, other.dValueRef);
  });
}

TEST(StartUp, ShowsAFaultOfTheInstrument) {
  const std::vector<double> wavelengths{345.0, 365.0, 470.0, 525.0, 600.0, 885.0};
  std::vector<WavelengthCalibrationEntry> zeros;
  {
    Bench sound;
    ASSERT_TRUE(sound.StartUp(wavelengths));
    zeros = sound.world.sink.References();
  }

  InstrumentFaults leaking;
  leaking.filterLeak.fill(0.5);
  const std::pair<const char*, InstrumentFaults> cases[] = {
      {"none", {}},
      {"lamp off", {.halogenLevel = 0.0}},
      {"weak lamp", {.halogenLevel = 0.5}},
      {"filters exchanged", {.filterOrder = {0, 1, 3, 2, 4, 5, 6, 7}}},
      {"holmium filter missing", {.filterOrder = {0, 1, 2, 3, 4, 5, 0, 7}}},
      {"leaking filters", leaking},
      {"mirror parked", {.stuckMirror = 0}},
      {"mirror to the other lamp", {.stuckMirror = 2}},
      {"high gain", {.stuckGain = true}},
      {"normal gain", {.stuckGain = false}},
      {"shutter closed", {.stuckShutter = true}},
      {"shutter open", {.stuckShutter = false}},
  };
  for (const auto& [what, faults] : cases) {
    for (std::uint64_t nSeed = 2; nSeed <= 4; ++nSeed) {
      SCOPED_TRACE(std::string(what) + ", seed " + std::to_string(nSeed));
      Bench bench({.seed = nSeed, .faults = faults});
      const bool bPassed = bench.StartUp(wavelengths);
      EXPECT_EQ(bPassed && AreSound(bench.world.sink.References(), zeros), what == cases[0].first);
    }
  }
}

}  // namespace
}  // namespace photometer::tests
