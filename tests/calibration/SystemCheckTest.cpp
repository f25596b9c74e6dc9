#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/SelfTestBench.h"
#include "calibration/SystemCheck.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

constexpr DWORD ID = 11;
/// Where the holmium oxide filter has a peak with more light than at the start-up's.
constexpr double BRIGHT_PEAK = 537.0;

/// The last record that the host has seen, as its thirteen words: lamps, filters 1 to 4, wavelength, detectors; and the
/// steps' states.
std::string LastStatus(const World& world) {
  std::string last;
  for (const std::string& call : world.sink.Calls()) {
    last = call.starts_with("OnSystemCheckStatus") ? InShort(call) : last;
  }
  return last;
}

/// A started instrument of either kind.
struct Check : StartedBench {
  explicit Check(bool bUV, int iOffset = 0) : StartedBench(UnitSettings{.bUV = bUV, .positionOffset = iOffset}) {}
  void Run(double dReferencePeak = DefaultCalibration().dReferencePeak) {
    Forget();
    const SystemCheckRequest request{ID, dReferencePeak, 0.0};
    EXPECT_EQ(device->StartSystemCheck(&request), S_OK);
    EXPECT_TRUE(device.WaitUntilNotBusy());
    EXPECT_TRUE(IsInitialized()) << "the check changes nothing";
  }
};

// ---- on the simulated instrument ----

TEST(SystemCheck, SoundInstrumentsStatusRecords) {
  for (const bool bUV : {true, false}) {
    SCOPED_TRACE(bUV ? "with UV" : "without UV");
    Check check(bUV);
    check.Run();
    EXPECT_EQ(check.Calls(),
              "11:25/0 [0 0 0 0 0 0 0 0 0  1 0 0 0] [0 1 1 0 0 0 0 0 0  2 0 0 0] "                // lamps
              "[0 1 1 0 0 0 0 0 0  2 0 1 0] 4/50 4/75 [0 1 1 0 0 0 0 1 0  2 0 2 0] 4/100 5/100 "  // wavelength
              "[0 1 1 0 0 0 0 1 0  2 1 2 0] [0 1 1 1 1 1 1 1 0  2 2 2 0] "                        // filters
              "[0 1 1 1 1 1 1 1 0  2 2 2 1] [0 1 1 1 1 1 1 1 1  2 2 2 2] 11:17/100");             // detectors
    EXPECT_EQ(check.Commands("$d1"), bUV ? 1 : 0);
    EXPECT_EQ(check.Commands("$F4"), bUV ? 0 : 1);
    EXPECT_EQ(check.Commands(bUV ? "$F6" : "$F5"), 1) << "the holmium oxide filter";
    const std::string written = Joined(check.world.Written());
    EXPECT_TRUE(bUV || written.find("$M", written.rfind("$F3")) < written.rfind("$F4")) << "at another wavelength";
    EXPECT_EQ(DebugLines(check.world, u"[Photometer] Filter "), bUV ? 3U : 4U);
    EXPECT_EQ(DebugLines(check.world, u"[Photometer] detectors: st dev = 0.000 (10 data size)"), 1U);
  }
}

InstrumentFaults LeakAt(std::size_t nPosition) {
  InstrumentFaults faults;
  faults.filterLeak.at(nPosition) = 0.2;
  return faults;
}

TEST(SystemCheck, EachFaultIsCaughtByItsStepAlone) {
  struct {
    const char* what;
    bool bUV;
    InstrumentFaults faults;
    const char* words;
    /// That the start-up finds, steps.
    int iOffset = 0;
  } const cases[] = {
      {"filter 1 leaks", true, LeakAt(1), "[0 1 1 0 1 1 1 1 1  2 3 2 2]"},
      {"filter 2 leaks", true, LeakAt(2), "[0 1 1 1 0 1 1 1 1  2 3 2 2]"},
      {"filter 3 leaks", false, LeakAt(3), "[0 1 1 1 1 0 1 1 1  2 3 2 2]"},
      {"filter 4 leaks", false, LeakAt(4), "[0 1 1 1 1 1 0 1 1  2 3 2 2]"},
      {"filter 4 leaks, which is not tested", true, LeakAt(4), "[0 1 1 1 1 1 1 1 1  2 2 2 2]"},
      {"weak halogen lamp", true, {.halogenLevel = 0.012}, "[0 0 1 1 1 1 1 1 1  2 2 2 2]"},
      {"monochromator slipped up", true, {.slippedSteps = 12}, "[0 1 1 1 1 1 1 0 1  2 2 3 2]"},
      {"monochromator slipped down", false, {.slippedSteps = -12}, "[0 1 1 1 1 1 1 0 1  2 2 3 2]"},
      {"slipped by less than the limit", true, {.slippedSteps = 9}, "[0 1 1 1 1 1 1 1 1  2 2 2 2]"},
      {"slipped to less than the limit by amount", true, {.slippedSteps = -10}, "[0 1 1 1 1 1 1 1 1  2 2 2 2]", 4},
      {"noisy detectors", false, {.detectorNoise = 300.0}, "[0 1 1 1 1 1 1 1 0  2 2 2 3]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.what) + (c.bUV ? "" : ", without UV"));
    Check check(c.bUV, c.iOffset);
    check.world.unit.SetFaults(c.faults);
    check.Run(BRIGHT_PEAK);
    EXPECT_EQ(LastStatus(check.world), c.words);
    EXPECT_EQ(check.Ends(), "11:17/100");
  }
}

TEST(SystemCheck, WavelengthStepAbsorbsWhatItsSpectrumMeets) {
  const std::pair<const char*, std::function<void(Check&)>> cases[] = {
      {"filter scan never answered",
       [](Check& c) {
         c.AddFault({FaultKind::Silence, 's', 2});
       }},
      {"cancelled between the passes", [](Check& c) { c.On("4/50", [&c] { c.device->CancelMeasurement(); }); }},
      {"cuvette behind the passes", [](Check& c) { c.On("4/75", [&c] { c.Insert(20); }); }},
  };
  for (const auto& [what, prepare] : cases) {
    SCOPED_TRACE(what);
    Check check(true);
    prepare(check);
    check.Run();
    EXPECT_EQ(LastStatus(check.world), "[0 1 1 1 1 1 1 0 1  2 2 3 2]");
    EXPECT_EQ(check.Ends(), "11:17/100");
    EXPECT_FALSE(check.device->GetStatus().bCancel);
  }
}

TEST(SystemCheck, CommandErrorEndsIt) {
  constexpr const char* AT_LAMPS = "[0 0 0 0 0 0 0 0 0  1 0 0 0]";
  struct {
    const char* what;
    simulator::Fault fault;
    bool bDeuteriumLights;
    const char* words;
    const char* number;
    const char* record;
  } const cases[] = {
      {"lamps", {FaultKind::Error, 'd', 1}, true, AT_LAMPS, "74", "_SetDeuteriumLamp returned 74"},
      {"deuterium lamp that does not light",
       {FaultKind::Error, '?'},
       false,
       AT_LAMPS,
       "77",
       "_SetDeuteriumLamp returned 77"},
      {"third filter", {FaultKind::Error, 'F', 8}, true, "[0 1 1 0 0 0 0 1 0  2 1 2 0]", "4", "SetFilter returned 4"},
      {"detectors", {FaultKind::Error, 'F', 9}, true, "[0 1 1 1 1 1 1 1 0  2 2 2 1]", "4", "SetFilter returned 4"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Check check(true);
    check.world.unit.SetFaults({.bDeuteriumLights = c.bDeuteriumLights});
    check.AddFault(c.fault);
    check.Run();
    EXPECT_EQ(LastStatus(check.world), c.words);
    EXPECT_EQ(check.Ends(), std::string("OnError(0, ") + c.number + ")");
    EXPECT_EQ(ErrorRecords(check.world), Texts{std::string("[System Check] ") + c.record});
  }
}

// ---- limits, on a scripted unit ----

/// Sample and reference channel without dark, counts.
struct Net {
  DWORD dwSample;
  DWORD dwReference;
};

/// Readings of an instrument without UV, in the order of the check.
struct Script {
  Net lamp{200'000, 200'000};
  /// Of each of the four filters.
  Net open{200'000, 200'000};
  Net filter{2'000, 200'000};
  std::vector<Net> detectors = std::vector<Net>(11, Net{200'000, 200'000});
};

/// Runs the check with scripted readings; its scans fail, and with them the wavelength step. The last record.
std::string RunScripted(const Script& script) {
  constexpr DWORD DARK = 1000;
  Optics optics;
  const auto add = [&optics](const Net& net) {
    optics.device.Script("$a3", Readings(DARK, DARK, 3));
    optics.device.Script("$a3", Readings(DARK + net.dwSample, DARK + net.dwReference, 3));
  };
  add(script.lamp);
  optics.device.Script("$a3", Readings(DARK, DARK, 3));  // the spectrum's dark reading
  const DWORD dwLast = optics.model.GetTablePosition(DefaultCalibration().dReferencePeak + 2.0);
  optics.device.Script("$s" + std::to_string(dwLast + 1), "error\r\n");
  for (int i = 0; i < 4; ++i) {
    add(script.open);
    add(script.filter);
  }
  std::ranges::for_each(script.detectors, add);
  optics.state.Lock()->m_Params.bUV = FALSE;
  optics.state.Lock()->m_SystemCheckRequest = {ID, DefaultCalibration().dReferencePeak, 0.0};
  CuvetteHolder cuvette(optics.state, optics.sink);
  FilterSpectrum spectrum(optics.state, optics.sink, optics.unit, optics.detectors, optics.model, cuvette);
  HolmiumPeak peak(optics.state, optics.model, spectrum);
  EndSequence end(optics.state, optics.sink, optics.link, optics.unit);
  SystemCheck(optics.state, optics.sink, optics.unit, optics.detectors, optics.model, peak, end).SystemCheckProc();
  optics.Stop();
  return LastStatus(optics.world);
}

/// Two values of an absorbance in equal numbers: the deviation is half their distance. The first reading is far off,
/// but does not count.
std::vector<Net> Alternating(double dDistance) {
  std::vector<Net> nets{{1, 200'000}};
  for (int i = 0; i < 10; ++i) {
    const double dSample = 10'000'000.0 * std::pow(10.0, i % 2 == 0 ? 0.0 : -dDistance);
    nets.push_back({static_cast<DWORD>(std::lround(dSample)), 10'000'000});
  }
  return nets;
}

TEST(SystemCheck, Limits) {
  constexpr const char* PASSED = "[0 1 1 1 1 1 1 0 1  2 2 3 2]";
  constexpr const char* NO_LAMP = "[0 0 1 1 1 1 1 0 1  2 2 3 2]";
  constexpr const char* NO_FILTER = "[0 1 1 0 0 0 0 0 1  2 3 3 2]";
  constexpr const char* NOISY = "[0 1 1 1 1 1 1 0 0  2 2 3 3]";
  struct {
    const char* what;
    Script script;
    const char* words;
  } const cases[] = {
      {"lamp at the limit", {.lamp = {500'000, 100'000}}, NO_LAMP},
      {"lamp above it", {.lamp = {500'000, 100'001}}, PASSED},
      {"absorbance 1", {.open = {1000, 1000}, .filter = {100, 1000}}, NO_FILTER},
      {"above 1", {.open = {1000, 1000}, .filter = {99, 1000}}, PASSED},
      {"with half the lamp", {.open = {1000, 1000}, .filter = {99, 500}}, NO_FILTER},
      {"no light counts as one count", {.open = {50, 1000}, .filter = {0, 1000}}, PASSED},
      {"no light at all says nothing", {.open = {0, 1000}, .filter = {0, 1000}}, NO_FILTER},
      {"no reference without the filter", {.open = {1000, 0}, .filter = {10, 1000}}, PASSED},
      {"noise below the limit", {.detectors = Alternating(2 * 0.00499)}, PASSED},
      {"noise above it", {.detectors = Alternating(2 * 0.00501)}, NOISY},
      {"no usable reading", {.detectors = std::vector<Net>(11, Net{0, 200'000})}, PASSED},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RunScripted(c.script), c.words) << c.what;
  }
}

}  // namespace
}  // namespace photometer::tests
