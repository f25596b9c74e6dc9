#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/StartUp.h"
#include "logging/LogFiles.h"
#include "platform/Platform.h"
#include "procedures/AbsorbanceCriterion.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

using Texts = std::vector<std::string>;

constexpr const char* FAILED_WITHOUT_OFFSET = "OnNotify(0, 12, 4294967294)";

/// One zero value with the high gain, one with the normal gain.
const std::vector<double> TWO_WAVELENGTHS{365.0, 525.0};

WorldOptions WithUnit(const simulator::OpticalUnitSettings& unit) {
  WorldOptions options;
  options.unit = unit;
  return options;
}

/// A device and its world. With the end of its life it expects that nothing is left.
class Bench {
 public:
  explicit Bench(const simulator::OpticalUnitSettings& unit = {}) : world(WithUnit(unit)), device(world) {}
  ~Bench() {
    device.Close();
    world.ExpectClean();
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  /// True: initialised.
  bool StartUp(const std::vector<double>& zeros = TWO_WAVELENGTHS, BOOL bUV = TRUE) {
    PhotometerParameters params = DefaultParameters();
    params.bUV = bUV;
    CalibrationData calibration = DefaultCalibration();
    calibration.ZeroWavelengths = zeros;
    return device->Initialize(&params, &calibration) == S_OK && device.WaitUntilNotBusy() &&
           device->GetStatus().bInitialized != FALSE;
  }
  std::size_t Count(const std::string& call) const { return world.sink.Count(call); }
  Texts ErrorRecords() {
    const std::string list = world.board.GetFiles().Read(ErrorListPath, 100'000).value_or("");
    Texts records;
    for (std::size_t n = 0, nEnd = 0; (nEnd = list.find('\n', n)) != std::string::npos; n = nEnd + 1) {
      records.push_back(list.substr(list.find('[', n), nEnd - list.find('[', n)));
    }
    return records;
  }

  World world;
  Device device;
};

std::string OffsetLine(int iOffset) {
  return "[InitProc] range offset OK =>  set current m_iPositionOffset= " + std::to_string(iOffset) + " (old";
}

// ---- the whole ----

/// The lines of a procedure in the device log, without their stamps.
Texts LogOf(const World& world, const std::string& procedure) {
  Texts lines;
  for (const std::string& line : world.transcript.Texts("log")) {
    if (line.find(procedure) != std::string::npos) {
      lines.push_back(line.substr(line.find("|  ") + 3));
    }
  }
  return lines;
}

TEST(StartUp, DoesAllThisInThisOrder) {
  Bench bench({.positionOffset = 4});
  ASSERT_TRUE(bench.StartUp());

  EXPECT_EQ(bench.world.Written(), (Texts{
                                       "$v",   "$o1",                       // before the thread
                                       "$H0",  "$F0",    "$r1",     "$z",   // lamp test
                                       "$r1",  "$i1",    "$g0",             // wavelength test, open pass
                                       "$S50", "$M4106", "$S38400", "$A9",  //
                                       "$H1",  "$a3",    "$H0",     "$h2", "$s4153", "$h0",  //
                                       "$F6",                                                // filter pass
                                       "$S50", "$M4106", "$S38400",                          //
                                       "$H1",  "$a3",    "$H0",     "$h2", "$s4153", "$h0",  //
                                       "$r0",                                                //
                                       "$r1",  "$S50",                                       // zero measurement
                                       "$F1",  "$g1",    "$M4183",  "$h2",                   // 365 nm
                                       "$H1",  "$a3",    "$H0",     "$a3", "$h0",            //
                                       "$F2",  "$g0",    "$M6092",  "$h1",                   // 525 nm
                                       "$H1",  "$a3",    "$H0",     "$a3", "$h0",            //
                                       "$r0",                                                // end
                                   }));
  Texts calls = bench.world.sink.Calls();
  std::erase(calls, "QueryCuvetteWait()");
  EXPECT_EQ(calls, (Texts{
                       "OnNotify(0, 10, 0)",   "OnNotify(0, 43, 0)",   "OnNotify(0, 1, 0)",   "OnNotify(0, 4, 0)",
                       "OnNotify(0, 7, 0)",                                                    // started
                       "OnNotify(0, 1, 10)",   "OnNotify(0, 1, 100)",  "OnNotify(0, 2, 100)",  // lamp test
                       "OnNotify(0, 4, 50)",   "OnNotify(0, 4, 75)",                           // both passes
                       "OnNotify(0, 4, 100)",  "OnNotify(0, 5, 100)",                          // wavelength test
                       "OnNotify(0, 7, 50)",   "OnNotify(0, 7, 100)",                          // both wavelengths
                       "OnNotify(0, 7, 100)",  "OnNotify(0, 8, 100)",                          // zero measurement
                       "OnNotify(0, 11, 100)", "OnReferenceValues(2)",                         // passed
                       "OnNotify(0, 43, 1)",   "OnNotify(0, 39, 0)",                           // ended
                   }));
  EXPECT_EQ(LogOf(bench.world, "InitProc"), (Texts{
                                                "Starting Thread [InitProc] ...",
                                                "[InitProc] Starting LAMP Test...",
                                                "[InitProc] LAMP Test finished...  OK",
                                                "[InitProc] Starting WAVELENGTH Test... ",
                                                "[InitProc] Find Peak at Index 27 [361.03 nm]  =>  iOffset= 4",
                                                ("[InitProc] range offset OK =>  set current m_iPositionOffset= 4 "
                                                 "(old Position= 0)"),
                                                "[InitProc] WAVELENGTH Test finished... ",
                                                "[InitProc] Starting ZERO MEASUREMENT...",
                                                "[InitProc] ZERO MEASUREMENT finished...",
                                                "[InitProc] Thread finished.",
                                            }));
  EXPECT_NE(bench.world.board.DebugText().find(u"[InitProc] [ 1] 525.0 nm:  Value="), std::u16string::npos);

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
      EXPECT_TRUE(bench.StartUp({525.0}, bUV));
      EXPECT_EQ(bench.world.LogLines(OffsetLine(iOffset)), 1U);
      EXPECT_TRUE(MeasuresRight(bench.world, bench.device, simulator::Sample::Dye("red", 0.7)));
    }
  }
}

TEST(StartUp, RefusesALargerOffset) {
  for (const int iOffset : {-30, -20, -17, -16, 16, 17, 20, 30}) {
    SCOPED_TRACE(iOffset);
    Bench bench({.positionOffset = iOffset});
    EXPECT_FALSE(bench.StartUp({525.0}));
    Texts calls = bench.world.sink.Calls();
    std::erase(calls, "QueryCuvetteWait()");
    const Texts attempt{"OnNotify(0, 4, 50)", "OnNotify(0, 4, 75)", "OnNotify(0, 4, 75)"};
    Texts expected;
    for (int i = 0; i < 3; ++i) {
      expected.insert(expected.end(), attempt.begin(), attempt.end());
    }
    for (const char* call : {"OnNotify(0, 4, 100)", "OnNotify(0, 6, 100)", "OnError(0, 4294967294)",
                             FAILED_WITHOUT_OFFSET, "OnNotify(0, 43, 1)", "OnNotify(0, 39, 0)"}) {
      expected.emplace_back(call);
    }
    const auto first = std::ranges::find(calls, attempt.front());
    EXPECT_EQ(Texts(first, calls.end()), expected);
    EXPECT_EQ(bench.world.LogLines("[InitProc] Restarting WAVELENGTH Test because error occurred ..."), 3U);
    EXPECT_EQ(bench.world.LogLines("[InitProc] Aborted WAVELENGTH Test because error occurred ..."), 1U);
    if (std::abs(iOffset) <= 20) {  // beyond, the peak is outside the spectrum
      EXPECT_EQ(bench.world.LogLines("iOffset= " + std::to_string(iOffset) + "\n"), 3U);
    }
    EXPECT_EQ(bench.ErrorRecords(), Texts{"[InitProc] SetHalogenLamp returned -2"});
    bench.world.ExpectSwitchedOff();
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

// ---- cuvettes ----

/// Inserts a cuvette; it is taken out three seconds after the host was asked to.
void InsertUntilAsked(World& world, const simulator::Sample& sample) {
  world.holder.Insert(10, world.board.Now());
  world.unit.SetSample(sample, world.board.Now());
  world.sink.On("OnNotify(0, 31, 1)", [&world] {
    Sleep(3000);
    world.holder.Remove(world.board.Now());
    world.unit.SetSample(simulator::Sample::Blank(), world.board.Now());
  });
}

void ExpectPassedWithSoundZeros(Bench& bench) {
  EXPECT_EQ(bench.Count("OnNotify(0, 32, 1)"), 1U);
  EXPECT_EQ(bench.Count("OnNotify(0, 43, 1)"), 1U);
  EXPECT_TRUE(bench.device->GetStatus().bInitialized);
  EXPECT_TRUE(MeasuresRight(bench.world, bench.device, simulator::Sample::NeutralGlass(0.5)));
}

TEST(StartUp, AsksForTheRemovalOfACuvetteAtEachStage) {
  struct {
    const char* inserted;
    /// The last callback before the host is asked.
    const char* before;
    std::size_t nRestarts;
  } const cases[] = {
      {"OnNotify(0, 7, 0)", "OnNotify(0, 7, 0)", 0},    {"OnNotify(0, 1, 10)", "OnNotify(0, 2, 100)", 0},
      {"OnNotify(0, 4, 50)", "OnNotify(0, 5, 100)", 1}, {"OnNotify(0, 5, 100)", "OnNotify(0, 5, 100)", 1},
      {"OnNotify(0, 7, 33)", "OnNotify(0, 7, 33)", 1},  {"OnNotify(0, 7, 66)", "OnNotify(0, 7, 66)", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.inserted);
    Bench bench;
    bool bOnce = false;
    bench.world.sink.On(c.inserted, [&] {
      if (!std::exchange(bOnce, true)) {
        InsertUntilAsked(bench.world, simulator::Sample::NeutralGlass(1.0));
      }
    });
    ASSERT_TRUE(bench.StartUp({365.0, 525.0, 885.0}));
    Texts calls = bench.world.sink.Calls();
    std::erase(calls, "QueryCuvetteWait()");
    std::erase_if(calls, [](const std::string& call) { return call.starts_with("OnCuvetteChanged"); });
    const auto asked = std::ranges::find(calls, "OnNotify(0, 31, 1)");
    ASSERT_NE(asked, calls.end());
    EXPECT_EQ(*(asked - 1), c.before);
    EXPECT_EQ(*(asked + 1), "OnNotify(0, 32, 1)");
    EXPECT_EQ(bench.world.LogLines("[InitProc] Restarting ZERO MEASUREMENT ... "), c.nRestarts);
    EXPECT_EQ(bench.world.sink.References().size(), 3U);
    ExpectPassedWithSoundZeros(bench);
  }
}

TEST(StartUp, PassesWithACuvetteInsertedAtAnyMoment) {
  std::uint64_t nFirstPass = 0;
  std::uint64_t nLastPass = 0;
  // An absorbing sample that arrives in the middle of a scan looks like a peak: it comes after the wavelength test
  // only.
  std::uint64_t nTested = 0;
  std::uint64_t nLast = 0;
  {
    Bench bench;
    bench.world.sink.On("OnNotify(0, 5, 100)", [&] { nTested = bench.world.board.Now(); });
    bench.world.sink.On("OnNotify(0, 2, 100)", [&] { nFirstPass = bench.world.board.Now(); });
    bench.world.sink.On("OnNotify(0, 4, 75)", [&] { nLastPass = bench.world.board.Now(); });
    bench.world.sink.On("OnNotify(0, 7, 66)", [&] { nLast = bench.world.board.Now(); });
    ASSERT_TRUE(bench.StartUp({365.0, 525.0, 885.0}));
  }
  for (std::uint64_t nAt = 1; nAt < nLast; nAt += nLast / 24) {
    // The passes over the holmium filter are not watched: a cuvette in their beam may shift the peak within tolerance.
    if (nAt > nFirstPass && nAt < nLastPass) {
      continue;
    }
    SCOPED_TRACE("at " + std::to_string(nAt) + " us");
    Bench bench({.seed = nAt});
    const HANDLE hHand = CreateThread(
        [&] {
          Sleep(static_cast<DWORD>(nAt / 1000));
          InsertUntilAsked(bench.world, simulator::Sample::NeutralGlass(1.0));
        },
        "hand", nullptr);
    EXPECT_TRUE(bench.StartUp({365.0, 525.0, 885.0}));
    ExpectPassedWithSoundZeros(bench);
    WaitForSingleObject(hHand, INFINITE);
    CloseHandle(hHand);
  }
}

TEST(StartUp, DoesNotWaitWhenTheHostDoesNotWantIt) {
  Bench bench;
  bench.world.sink.SkipCuvetteWait();
  bench.world.holder.Insert(10, 0);
  EXPECT_TRUE(bench.StartUp());
  // Before the lamp test, the spectrum, each wavelength and each try.
  EXPECT_EQ(bench.Count("QueryCuvetteWait()"), 6U);
  EXPECT_EQ(bench.Count("OnNotify(0, 31, 1)") + bench.Count("OnNotify(0, 32, 1)"), 0U);
}

// ---- failures ----

simulator::Fault Make(simulator::FaultKind kind, char letter, std::uint32_t nth = 0) {
  simulator::Fault fault;
  fault.kind = kind;
  fault.letter = letter;
  fault.nth = nth;
  return fault;
}

void ExpectFailedWith(Bench& bench, LONG iNumber, const std::string& command) {
  const std::string number = std::to_string(static_cast<DWORD>(iNumber));
  EXPECT_FALSE(bench.device->GetStatus().bInitialized);
  EXPECT_EQ(bench.Count("OnError(0, " + number + ")"), 1U);
  EXPECT_EQ(bench.Count("OnNotify(0, 12, " + number + ")"), 1U);
  EXPECT_EQ(bench.Count("OnNotify(0, 11, 100)"), 0U);
  EXPECT_EQ(bench.Count("OnNotify(0, 43, 1)"), 1U);
  EXPECT_EQ(bench.Count("OnNotify(0, 39, 0)"), 1U);
  EXPECT_EQ(bench.ErrorRecords(), Texts{"[InitProc] " + command + " returned " + std::to_string(iNumber)});
  const Texts written = bench.world.Written();
  EXPECT_EQ(Texts(written.end() - 4, written.end()), (Texts{"$r0", "$d0", "$h0", "$f0"}));
}

void ExpectSecondTrySucceeds(Bench& bench) {
  bench.world.unit.WireFaults().Clear();
  bench.world.sink.On("OnNotify(0, 5, 100)", nullptr);
  EXPECT_TRUE(bench.StartUp());
  EXPECT_TRUE(MeasuresRight(bench.world, bench.device, simulator::Sample::NeutralGlass(0.5)));
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
      {'i', SPECTRUM, "SetMeasurementLength", -2, -2},
      {'g', SPECTRUM, "SetGain", -2, -2},
      {'S', SPECTRUM, "SetMonochromatorSpeed", -2, -2},
      {'M', SPECTRUM, "MoveMonochromator", -2, -2},
      {'A', SPECTRUM, "SetADSpeed", -2, -2},
      {'a', SPECTRUM, "GetADValue", -2, -2},
      {'h', SPECTRUM, "SetHalogenLamp", -2, -2},
      {'s', SPECTRUM, "Scan", -2, -2},
      {'r', ZERO, "SetMirror", 54, 52},
      {'S', ZERO, "SetMonochromatorSpeed", 104, 102},
      {'F', ZERO, "SetFilter", 4, 2},
      {'g', ZERO, "SetGain", 34, 32},
      {'M', ZERO, "MoveMonochromator", 114, 112},
      {'h', ZERO, "SetHalogenLamp", 64, 62},
      {'H', ZERO, "SetShutter", 24, 22},
      // "error" is no reading, and what follows it is silence.
      {'a', ZERO, "GetADValue", 132, 132},
  };
  for (const auto& c : cases) {
    for (const simulator::FaultKind kind : {simulator::FaultKind::Error, simulator::FaultKind::Silence}) {
      const bool bError = kind == simulator::FaultKind::Error;
      SCOPED_TRACE(std::string(1, c.letter) + (bError ? " error" : " silence") + " in stage " +
                   std::to_string(c.stage));
      Bench bench;
      if (c.stage == ZERO) {
        bench.world.sink.On("OnNotify(0, 5, 100)", [&] { bench.world.unit.WireFaults().Add(Make(kind, c.letter)); });
      } else {
        bench.world.unit.WireFaults().Add(Make(kind, c.letter));
      }
      EXPECT_FALSE(bench.StartUp());
      ExpectFailedWith(bench, bError ? c.iError : c.iSilence, c.command);
      EXPECT_EQ(bench.Count("OnNotify(0, 3, 100)"), c.letter == 'z' ? 1U : 0U);
      ExpectSecondTrySucceeds(bench);
    }
  }
}

TEST(StartUp, RepeatsASpectrumThatFailed) {
  for (const char letter : {'i', 'g', 'S', 'M', 'A', 'a', 'h', 's'}) {
    SCOPED_TRACE(letter);
    Bench bench;
    bench.world.unit.WireFaults().Add(Make(simulator::FaultKind::Error, letter, 1));
    EXPECT_TRUE(bench.StartUp());
    EXPECT_EQ(bench.world.LogLines("[InitProc] Restarting WAVELENGTH Test because error occurred ..."), 1U);
    EXPECT_EQ(bench.world.LogLines("Find Peak at Index"), 1U) << "there is no peak in no spectrum";
    EXPECT_EQ(bench.ErrorRecords(), Texts{});
    EXPECT_TRUE(MeasuresRight(bench.world, bench.device, simulator::Sample::NeutralGlass(0.5)));
  }
}

TEST(StartUp, PassesWithoutZeroWavelengths) {
  Bench bench;
  EXPECT_TRUE(bench.StartUp({}));
  const Texts calls = bench.world.sink.Calls();
  const Texts end{"OnNotify(0, 7, 100)",  "OnNotify(0, 8, 100)", "OnNotify(0, 11, 100)",
                  "OnReferenceValues(0)", "OnNotify(0, 43, 1)",  "OnNotify(0, 39, 0)"};
  EXPECT_EQ(Texts(calls.end() - static_cast<std::ptrdiff_t>(end.size()), calls.end()), end);
  WavelengthCalibrationEntry entry{};
  EXPECT_EQ(bench.device->GetWavelengthCalibration(525.0, &entry), E_FAIL);
}

TEST(StartUp, TakesTenTriesForAZeroValue) {
  // A dark reading that is brighter than any light.
  struct {
    std::uint32_t nInvalid;
    bool bPasses;
  } const cases[] = {{9, true}, {10, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.nInvalid);
    Bench bench;
    bench.world.sink.On("OnNotify(0, 5, 100)", [&] {
      bench.world.unit.ForgetCommands();
      for (std::uint32_t n = 0; n < c.nInvalid; ++n) {
        simulator::Fault fault = Make(simulator::FaultKind::Garbage, 'a', 2 * n + 1);
        fault.bytes = std::string(18, '\xFF');
        bench.world.unit.WireFaults().Add(fault);
      }
    });
    EXPECT_EQ(bench.StartUp(), c.bPasses);
    const auto nReadings = std::ranges::count_if(bench.world.unit.Commands(),
                                                 [](const auto& command) { return command.strText == "$a3"; });
    EXPECT_EQ(nReadings, c.bPasses ? 22 : 20);
    if (c.bPasses) {
      EXPECT_EQ(bench.ErrorRecords(), Texts{});
      EXPECT_TRUE(MeasuresRight(bench.world, bench.device, simulator::Sample::NeutralGlass(0.5)));
    } else {
      ExpectFailedWith(bench, NO_ZERO_READING, "GetADValue");
      ExpectSecondTrySucceeds(bench);
    }
  }
}

TEST(StartUp, TakesAReadingOfNothingForNone) {
  // Without noise and light, a reading is exactly zero.
  Bench bench({.noiseLevel = 0.0});
  bench.world.sink.On("OnNotify(0, 5, 100)", [&] { bench.world.unit.SetFaults({.halogenLevel = 0.0}); });
  EXPECT_FALSE(bench.StartUp());
  ExpectFailedWith(bench, NO_ZERO_READING, "GetADValue");
  bench.world.unit.SetFaults({});
  ExpectSecondTrySucceeds(bench);
}

// ---- faults of the instrument ----

/// How many zero values differ from those of a sound instrument by more than five standard deviations, or are missing.
int DifferentZeros(Bench& bench, const std::vector<WavelengthCalibrationEntry>& sound) {
  const std::vector<WavelengthCalibrationEntry> zeros = bench.world.sink.References();
  int nDifferent = 0;
  const auto differs = [](double d, double dSound, bool bHighGain) {
    const double dVariance = simulator::Detector::ReadingVariance(dSound + 1600.0, bHighGain, 1.0) / 3.0 +
                             simulator::Detector::ReadingVariance(1600.0, bHighGain, 1.0) / 3.0;
    return !(std::fabs(d - dSound) <= 5.0 * std::sqrt(2.0 * dVariance));
  };
  for (std::size_t i = 0; i < sound.size(); ++i) {
    const bool bHighGain = sound[i].dWavelength < HIGH_GAIN_BELOW;
    nDifferent += i >= zeros.size() || differs(zeros[i].dValue, sound[i].dValue, bHighGain) ||
                          differs(zeros[i].dValueRef, sound[i].dValueRef, bHighGain)
                      ? 1
                      : 0;
  }
  return nDifferent;
}

TEST(StartUp, ShowsAFaultOfTheInstrument) {
  const std::vector<double> wavelengths{345.0, 365.0, 470.0, 525.0, 600.0, 885.0};
  std::vector<WavelengthCalibrationEntry> zeros;
  {
    Bench sound;
    ASSERT_TRUE(sound.StartUp(wavelengths));
    zeros = sound.world.sink.References();
  }

  simulator::InstrumentFaults leaking;
  leaking.filterLeak.fill(0.5);
  struct {
    const char* what;
    simulator::InstrumentFaults faults;
    bool bSound;
  } const cases[] = {
      {"none", {}, true},
      {"lamp off", {.halogenLevel = 0.0}, false},
      {"weak lamp", {.halogenLevel = 0.5}, false},
      {"filters exchanged", {.filterOrder = {0, 1, 3, 2, 4, 5, 6, 7}}, false},
      {"holmium filter missing", {.filterOrder = {0, 1, 2, 3, 4, 5, 0, 7}}, false},
      {"leaking filters", leaking, false},
      {"mirror parked", {.stuckMirror = 0}, false},
      {"mirror to the other lamp", {.stuckMirror = 2}, false},
      {"high gain", {.stuckGain = true}, false},
      {"normal gain", {.stuckGain = false}, false},
      {"shutter closed", {.stuckShutter = true}, false},
      {"shutter open", {.stuckShutter = false}, false},
  };
  for (const auto& c : cases) {
    for (std::uint64_t nSeed = 2; nSeed <= 4; ++nSeed) {
      SCOPED_TRACE(std::string(c.what) + ", seed " + std::to_string(nSeed));
      Bench bench({.seed = nSeed, .faults = c.faults});
      const bool bPassed = bench.StartUp(wavelengths);
      const int nDifferent = DifferentZeros(bench, zeros);
      EXPECT_EQ(bPassed && nDifferent == 0, c.bSound) << "passed " << bPassed << ", different " << nDifferent;
    }
  }
}

}  // namespace
}  // namespace photometer::tests
