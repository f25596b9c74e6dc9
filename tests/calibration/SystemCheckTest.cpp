#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/SelfTestHost.h"
#include "calibration/SystemCheck.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Calls = std::vector<std::string>;

constexpr DWORD ID = 11;
/// Where the holmium oxide filter has a peak with more light than at the start-up's.
constexpr double BRIGHT_PEAK = 537.0;

/// The record as its thirteen words: lamps, filters 1 to 4, wavelength, detectors; and the steps' states.
std::string Words(const SystemCheckStatus& status) {
  const auto* const pWords = reinterpret_cast<const DWORD*>(&status);
  std::string words;
  for (std::size_t i = 0; i < sizeof(status) / sizeof(DWORD); ++i) {
    words += (i == 0 ? "" : i == 9 ? "  " : " ") + std::to_string(pWords[i]);
  }
  return words;
}

/// Hears the record and the ends.
class StatusSink final : public EmptySink {
 public:
  void OnSystemCheckStatus(const SystemCheckStatus* pStatus) override { Note(Words(*pStatus)); }
  void OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) override {
    Note(platform::FormatText(100, "OnNotify(%u, %u, %u)", dwRequestId, dwCode, dwValue));
  }
  void OnError(DWORD dwRequestId, DWORD dwError) override {
    Note(platform::FormatText(100, "OnError(%u, %u)", dwRequestId, dwError));
  }

  /// Runs inside each call with this text.
  void On(const std::string& text, std::function<void()> action) {
    m_strText = text;
    m_Action = std::move(action);
  }
  [[nodiscard]] const Calls& GetCalls() const { return m_Calls; }
  /// The last record.
  [[nodiscard]] std::string Last() const {
    std::string last;
    for (const std::string& call : m_Calls) {
      last = call.starts_with("On") ? last : call;
    }
    return last;
  }

 private:
  void Note(const std::string& text) {
    m_Calls.push_back(text);
    if (m_Action && text == m_strText) {
      m_Action();
    }
  }

  Calls m_Calls;
  std::string m_strText;
  std::function<void()> m_Action;
};

/// A started instrument of either kind, whose host hears the check.
class Check {
 public:
  explicit Check(bool bUV, double dReferencePeak = DefaultCalibration().dReferencePeak)
      : m_dReferencePeak(dReferencePeak), m_World(Options(bUV)), m_Device(m_World) {
    EXPECT_TRUE(StartUpOfKind(m_Device, bUV));
    m_Device->SetSink(&m_Sink);
  }
  ~Check() {
    m_World.ExpectSwitchedOff();
    m_Device.Close();
    m_World.ExpectClean();
  }
  Check(const Check&) = delete;
  Check& operator=(const Check&) = delete;

  HRESULT Start() {
    const SystemCheckRequest request{ID, m_dReferencePeak, 0.0};
    return m_Device->StartSystemCheck(&request);
  }
  void Run() {
    EXPECT_EQ(Start(), S_OK);
    EXPECT_TRUE(m_Device.WaitUntilNotBusy());
    EXPECT_TRUE(m_Device->GetStatus().bInitialized) << "the check changes nothing";
  }
  World& GetWorld() { return m_World; }
  Device& GetDevice() { return m_Device; }
  StatusSink& GetSink() { return m_Sink; }

 private:
  static WorldOptions Options(bool bUV) {
    WorldOptions options;
    options.unit.bUV = bUV;
    return options;
  }

  double m_dReferencePeak;
  StatusSink m_Sink;
  World m_World;
  Device m_Device;
};

// ---- on the simulated instrument ----

TEST(SystemCheck, SoundInstrumentsStatusRecords) {
  struct {
    bool bUV;
    /// Brings the holmium oxide filter into the beam.
    const char* filterCommand;
  } const cases[] = {{true, "$F6"}, {false, "$F5"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bUV ? "with UV" : "without UV");
    Check check(c.bUV);
    const std::size_t nCommands = check.GetWorld().Written().size();
    check.Run();
    EXPECT_EQ(
        check.GetSink().GetCalls(),
        (Calls{"OnNotify(11, 25, 0)", "0 0 0 0 0 0 0 0 0  1 0 0 0", "0 1 1 0 0 0 0 0 0  2 0 0 0",
               "0 1 1 0 0 0 0 0 0  2 0 1 0", "OnNotify(0, 4, 50)", "OnNotify(0, 4, 75)", "0 1 1 0 0 0 0 1 0  2 0 2 0",
               "OnNotify(0, 4, 100)", "OnNotify(0, 5, 100)", "0 1 1 0 0 0 0 1 0  2 1 2 0", "0 1 1 1 1 1 1 1 0  2 2 2 0",
               "0 1 1 1 1 1 1 1 0  2 2 2 1", "0 1 1 1 1 1 1 1 1  2 2 2 2", "OnNotify(11, 17, 100)"}));
    const Calls written = check.GetWorld().Written();
    const auto count = [&](const std::string& command) {
      return std::count(written.begin() + static_cast<std::ptrdiff_t>(nCommands), written.end(), command);
    };
    EXPECT_EQ(count("$d1"), c.bUV ? 1 : 0);
    EXPECT_EQ(count("$F4"), c.bUV ? 0 : 1);
    EXPECT_EQ(count(c.filterCommand), 1);
    EXPECT_EQ(DebugLines(check.GetWorld(), u"[Photometer] Filter "), c.bUV ? 3U : 4U);
    EXPECT_EQ(DebugLines(check.GetWorld(), u"[Photometer] detectors: st dev = 0.000 (10 data size)"), 1U);
  }
}

using Faults = simulator::InstrumentFaults;

Faults LeakAt(std::size_t nPosition) {
  Faults faults;
  faults.filterLeak.at(nPosition) = 0.2;
  return faults;
}

template <class T>
Faults With(T Faults::*pMember, T value) {
  Faults faults;
  faults.*pMember = value;
  return faults;
}

TEST(SystemCheck, EachFaultIsCaughtByItsStepAlone) {
  const Faults weak = With(&Faults::halogenLevel, 0.012);
  const Faults noisy = With(&Faults::detectorNoise, 300.0);
  struct {
    const char* what;
    bool bUV;
    Faults faults;
    const char* words;
  } const cases[] = {
      {"filter 1 leaks", true, LeakAt(1), "0 1 1 0 1 1 1 1 1  2 3 2 2"},
      {"filter 2 leaks", true, LeakAt(2), "0 1 1 1 0 1 1 1 1  2 3 2 2"},
      {"filter 3 leaks", true, LeakAt(3), "0 1 1 1 1 0 1 1 1  2 3 2 2"},
      {"filter 4 leaks, which is not tested", true, LeakAt(4), "0 1 1 1 1 1 1 1 1  2 2 2 2"},
      {"filter 1 leaks", false, LeakAt(1), "0 1 1 0 1 1 1 1 1  2 3 2 2"},
      {"filter 2 leaks", false, LeakAt(2), "0 1 1 1 0 1 1 1 1  2 3 2 2"},
      {"filter 3 leaks", false, LeakAt(3), "0 1 1 1 1 0 1 1 1  2 3 2 2"},
      {"filter 4 leaks", false, LeakAt(4), "0 1 1 1 1 1 0 1 1  2 3 2 2"},
      {"weak halogen lamp", true, weak, "0 0 1 1 1 1 1 1 1  2 2 2 2"},
      {"weak halogen lamp", false, weak, "0 0 1 1 1 1 1 1 1  2 2 2 2"},
      {"monochromator slipped up", true, With(&Faults::slippedSteps, 12), "0 1 1 1 1 1 1 0 1  2 2 3 2"},
      {"monochromator slipped down", false, With(&Faults::slippedSteps, -12), "0 1 1 1 1 1 1 0 1  2 2 3 2"},
      {"slipped by less than the limit", true, With(&Faults::slippedSteps, 9), "0 1 1 1 1 1 1 1 1  2 2 2 2"},
      {"noisy detectors", true, noisy, "0 1 1 1 1 1 1 1 0  2 2 2 3"},
      {"noisy detectors", false, noisy, "0 1 1 1 1 1 1 1 0  2 2 2 3"},
      {"deuterium lamp without use", false, With(&Faults::bDeuteriumLights, false), "0 1 1 1 1 1 1 1 1  2 2 2 2"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.what) + (c.bUV ? "" : ", without UV"));
    Check check(c.bUV, BRIGHT_PEAK);
    check.GetWorld().unit.SetFaults(c.faults);
    check.Run();
    EXPECT_EQ(check.GetSink().Last(), c.words);
    EXPECT_EQ(check.GetSink().GetCalls().back(), "OnNotify(11, 17, 100)");
  }
}

TEST(SystemCheck, DeuteriumLampThatDoesNotLightEndsIt) {
  Check check(true);
  check.GetWorld().unit.SetFaults(With(&Faults::bDeuteriumLights, false));
  check.Run();
  EXPECT_EQ(check.GetSink().GetCalls(), (Calls{"OnNotify(11, 25, 0)", "0 0 0 0 0 0 0 0 0  1 0 0 0", "OnError(0, 77)"}));
  EXPECT_EQ(ErrorRecords(check.GetWorld(), "System Check", "_SetDeuteriumLamp", 77), 1U);
}

TEST(SystemCheck, WavelengthStepAbsorbsWhatItsSpectrumMeets) {
  struct {
    const char* what;
    std::function<void(Check&)> fault;
  } const cases[] = {
      {"open scan answered with an error",
       [](Check& c) {
         c.GetWorld().unit.WireFaults().Add({simulator::FaultKind::Error, 's', 1});
       }},
      {"filter scan never answered",
       [](Check& c) {
         c.GetWorld().unit.WireFaults().Add({simulator::FaultKind::Silence, 's', 2});
       }},
      {"cuvette in the well",
       [](Check& c) {
         c.GetWorld().holder.Insert(10, c.GetWorld().board.Now());
         platform::Sleep(1000);
       }},
      {"cancelled at the start",
       [](Check& c) { c.GetSink().On("OnNotify(11, 25, 0)", [&c] { c.GetDevice()->CancelMeasurement(); }); }},
      {"cancelled between the passes",
       [](Check& c) { c.GetSink().On("OnNotify(0, 4, 50)", [&c] { c.GetDevice()->CancelMeasurement(); }); }},
      {"cuvette inserted between the passes",
       [](Check& c) {
         c.GetSink().On("OnNotify(0, 4, 50)", [&c] { c.GetWorld().holder.Insert(20, c.GetWorld().board.Now()); });
       }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Check check(true);
    c.fault(check);
    check.Run();
    EXPECT_EQ(check.GetSink().Last(), "0 1 1 1 1 1 1 0 1  2 2 3 2");
    EXPECT_EQ(check.GetSink().GetCalls().back(), "OnNotify(11, 17, 100)");
    EXPECT_FALSE(check.GetDevice()->GetStatus().bCancel);
  }
}

TEST(SystemCheck, CommandErrorEndsIt) {
  // The how-manieth turn of the filter wheel fails: lamps, filters, detectors.
  struct {
    char letter;
    std::uint32_t nth;
    const char* words;
    const char* error;
  } const cases[] = {
      {'F', 1, "0 0 0 0 0 0 0 0 0  1 0 0 0", "OnError(0, 4)"}, {'d', 1, "0 0 0 0 0 0 0 0 0  1 0 0 0", "OnError(0, 74)"},
      {'F', 4, "0 1 1 0 0 0 0 1 0  2 1 2 0", "OnError(0, 4)"}, {'F', 8, "0 1 1 0 0 0 0 1 0  2 1 2 0", "OnError(0, 4)"},
      {'F', 9, "0 1 1 1 1 1 1 1 0  2 2 2 1", "OnError(0, 4)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.letter << " number " << c.nth);
    Check check(true);
    check.GetWorld().unit.WireFaults().Add({simulator::FaultKind::Error, c.letter, c.nth});
    check.Run();
    EXPECT_EQ(check.GetSink().Last(), c.words);
    EXPECT_EQ(check.GetSink().GetCalls().back(), c.error);
    EXPECT_EQ(check.GetWorld().LogLines("[System Check] "), 1U);
  }
}

TEST(SystemCheck, Refused) {
  Check check(false);
  const SystemCheckRequest notANumber{ID, std::numeric_limits<double>::quiet_NaN(), 0.0};
  EXPECT_EQ(check.GetDevice()->StartSystemCheck(nullptr), E_POINTER);
  EXPECT_EQ(check.GetDevice()->StartSystemCheck(&notANumber), E_INVALIDARG);
  check.GetWorld().kernel.threads.Start(1);
  EXPECT_EQ(check.Start(), E_FAIL) << "without a thread";
  EXPECT_FALSE(check.GetDevice()->GetStatus().bBusy);
  EXPECT_EQ(check.Start(), S_OK);
  EXPECT_EQ(check.Start(), E_FAIL) << "while one runs";
  EXPECT_TRUE(check.GetDevice().WaitUntilNotBusy());
  check.GetDevice()->Shutdown();
  EXPECT_EQ(check.Start(), E_FAIL) << "after Shutdown";
}

// ---- limits, on a scripted unit ----

/// Sample and reference channel without dark, counts.
struct Net {
  DWORD dwSample;
  DWORD dwReference;
};

/// Instrument without UV whose readings are scripted, in the order of the check: halogen lamp; filters 1 to 4, each
/// open and with the filter; eleven of the detectors. Its scans fail, and with them the wavelength step.
class ScriptedCheck {
 public:
  Net lamp{200'000, 200'000};
  Net open{200'000, 200'000};
  Net filter{2'000, 200'000};
  std::vector<Net> detectors = std::vector<Net>(11, Net{200'000, 200'000});

  std::string Run() {
    Optics optics;
    optics.state.Lock()->m_Params.bUV = FALSE;
    optics.state.Lock()->m_SystemCheckRequest = {ID, DefaultCalibration().dReferencePeak, 0.0};
    optics.sink.SetSink(&m_Sink);
    // The spectrum takes a dark reading before its scan fails.
    Add(optics, {lamp});
    optics.device.Script("$a3", Readings(DARK, DARK, 3));
    for (int i = 0; i < 4; ++i) {
      Add(optics, {open, filter});
    }
    Add(optics, detectors);
    for (const LONG iOffset : {-1, 0, 1}) {
      const auto dwLast = static_cast<LONG>(optics.model.GetTablePosition(DefaultCalibration().dReferencePeak + 2.0));
      optics.device.Script("$s" + std::to_string(dwLast + 1 + iOffset), "error\r\n");
    }
    CuvetteHolder cuvette(optics.state, optics.sink);
    FilterSpectrum spectrum(optics.state, optics.sink, optics.unit, optics.detectors, optics.model, cuvette);
    HolmiumPeak peak(optics.state, optics.model, spectrum);
    EndSequence end(optics.state, optics.sink, optics.link, optics.unit);
    SystemCheck(optics.state, optics.sink, optics.unit, optics.detectors, optics.model, peak, end).SystemCheckProc();
    optics.Stop();
    return m_Sink.Last();
  }

 private:
  static constexpr DWORD DARK = 1000;

  static void Add(Optics& optics, const std::vector<Net>& nets) {
    for (const Net& net : nets) {
      optics.device.Script("$a3", Readings(DARK, DARK, 3));
      optics.device.Script("$a3", Readings(DARK + net.dwSample, DARK + net.dwReference, 3));
    }
  }

  StatusSink m_Sink;
};

TEST(SystemCheck, LampLimit) {
  struct {
    DWORD dwReference;
    const char* words;
  } const cases[] = {{100'000, "0 0 1 1 1 1 1 0 1  2 2 3 2"}, {100'001, "0 1 1 1 1 1 1 0 1  2 2 3 2"}};
  for (const auto& c : cases) {
    ScriptedCheck check;
    check.lamp = {500'000, c.dwReference};
    EXPECT_EQ(check.Run(), c.words) << c.dwReference;
  }
}

TEST(SystemCheck, FilterLimit) {
  constexpr const char* PASSED = "0 1 1 1 1 1 1 0 1  2 2 3 2";
  constexpr const char* FAILED = "0 1 1 0 0 0 0 0 1  2 3 3 2";
  struct {
    Net open;
    Net filter;
    const char* words;
  } const cases[] = {
      {{1000, 1000}, {100, 1000}, FAILED},  // exactly 1
      {{1000, 1000}, {99, 1000}, PASSED},   //
      {{1000, 1000}, {99, 500}, FAILED},    // the reference has halved: so has the lamp
      {{1000, 1000}, {0, 1000}, PASSED},    // no light counts as one count
      {{0, 1000}, {0, 1000}, FAILED},       // no light at all says nothing
      {{1000, 0}, {10, 1000}, PASSED},      //
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.open.dwSample << " " << c.filter.dwSample);
    ScriptedCheck check;
    check.open = c.open;
    check.filter = c.filter;
    EXPECT_EQ(check.Run(), c.words);
  }
}

TEST(SystemCheck, NoiseLimit) {
  // Two values of an absorbance in equal numbers: the deviation is half their distance.
  const auto alternating = [](double dDistance) {
    std::vector<Net> nets{{1, 200'000}};  // far off, but the first one does not count
    for (int i = 0; i < 10; ++i) {
      const double dSample = 10'000'000.0 * std::pow(10.0, i % 2 == 0 ? 0.0 : -dDistance);
      nets.push_back({static_cast<DWORD>(std::lround(dSample)), 10'000'000});
    }
    return nets;
  };
  std::vector<Net> dark(11, Net{0, 200'000});
  std::vector<Net> one = dark;
  one[5] = {1, 200'000};
  struct {
    const char* what;
    std::vector<Net> detectors;
    bool bPassed;
  } const cases[] = {
      {"below", alternating(2 * 0.00499), true},
      {"above", alternating(2 * 0.00501), false},
      {"no usable reading", dark, true},
      {"one usable reading", one, true},
  };
  for (const auto& c : cases) {
    ScriptedCheck check;
    check.detectors = c.detectors;
    EXPECT_EQ(check.Run(), c.bPassed ? "0 1 1 1 1 1 1 0 1  2 2 3 2" : "0 1 1 1 1 1 1 0 0  2 2 3 3") << c.what;
  }
}

}  // namespace
}  // namespace photometer::tests
