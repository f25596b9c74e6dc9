#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "logging/LogFiles.h"
#include "platform/Platform.h"
#include "procedures/AbsorbanceCriterion.h"
#include "procedures/Measure.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

using Texts = std::vector<std::string>;
using simulator::FaultKind;

const Texts SWITCH_OFF{"$r0", "$d0", "$h0", "$f0"};

simulator::Fault Make(FaultKind kind, char letter, std::uint32_t nth = 0) {
  simulator::Fault fault;
  fault.kind = kind;
  fault.letter = letter;
  fault.nth = nth;
  return fault;
}

/// A started device; what happens from then on is looked at run by run.
class Bench {
 public:
  explicit Bench(const WorldOptions& options = {}) : world(options), device(world) {
    EXPECT_TRUE(StartUp());
    Forget();
  }
  ~Bench() {
    device.Close();
    world.ExpectClean();
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  bool StartUp() {
    const PhotometerParameters params = DefaultParameters();
    CalibrationData calibration = DefaultCalibration();
    calibration.ZeroWavelengths = {365.0, 525.0, 700.0};
    return device->Initialize(&params, &calibration) == S_OK && device.WaitUntilNotBusy() &&
           device->GetStatus().bInitialized != FALSE;
  }
  /// What was written and called before counts no more.
  void Forget() {
    world.transcript.Clear();
    m_nResults = world.sink.Results().size();
  }
  void Run(const MeasureRequest& request) {
    Forget();
    ASSERT_EQ(device->StartMeasure(&request), S_OK);
    ASSERT_TRUE(device.WaitUntilNotBusy());
  }
  Texts Calls() const {
    Texts calls = world.sink.Calls();
    std::erase(calls, "QueryCuvetteWait()");
    return calls;
  }
  MeasureValues Results() const {
    const MeasureValues values = world.sink.Results();
    return {values.begin() + static_cast<std::ptrdiff_t>(m_nResults), values.end()};
  }
  std::size_t Ends() const {
    const Texts calls = Calls();
    return static_cast<std::size_t>(std::ranges::count_if(calls, [](const std::string& call) {
      return call == "OnNotify(7, 17, 100)" || call == "OnNotify(7, 18, 100)";
    }));
  }
  bool MeasuresRight() { return tests::MeasuresRight(world, device, simulator::Sample::NeutralGlass(0.5)); }
  std::string LastErrorRecord() {
    const std::string list = world.board.GetFiles().Read(ErrorListPath, 1'000'000).value_or("");
    const std::size_t nStart = list.rfind('[');
    return nStart == std::string::npos ? "" : list.substr(nStart, list.size() - nStart - 1);
  }

  World world;
  Device device;

 private:
  std::size_t m_nResults = 0;
};

// ---- what it does ----

TEST(Measure, SetsAndReadsInThisOrder) {
  Bench bench;
  MeasureRequest request = MeasureAt({365.0, 525.0});
  request.m_dwReadings = 2;
  bench.Run(request);
  EXPECT_EQ(bench.world.Written(), (Texts{
                                       "$r1", "$F1", "$g1",    "$M4179", "$h2",  // 365 nm
                                       "$H1", "$a3", "$H0",    "$a3",            //
                                       "$H1", "$a3", "$H0",    "$a3",            //
                                       "$F2", "$g0", "$M6088", "$h1",            // 525 nm
                                       "$H1", "$a3", "$H0",    "$a3",            //
                                       "$H1", "$a3", "$H0",    "$a3",            //
                                       "$r0", "$h0",                             // end
                                   }));
  EXPECT_EQ(bench.Calls(), (Texts{"OnNotify(7, 25, 0)", "OnResult(7, 2)", "OnNotify(7, 15, 50)", "OnResult(7, 2)",
                                  "OnNotify(7, 15, 100)", "OnNotify(7, 17, 100)"}));
  Texts log = bench.world.transcript.Texts("log");
  for (std::string& line : log) {
    line.erase(0, line.find("|  ") + 3);
  }
  EXPECT_EQ(log,
            (Texts{"[Measure] [7] Thread started", "[Measure] delegate action [Photometer_Measurement_Completed]...",
                   "[Measure] [7] Thread closed, iResult= 0"}));
}

TEST(Measure, NotifiesTheProgress) {
  struct {
    std::vector<double> wavelengths;
    Texts progress;
  } const cases[] = {
      {{}, {}},
      {{525.0}, {"OnNotify(7, 15, 100)"}},
      {{365.0, 525.0, 700.0}, {"OnNotify(7, 15, 33)", "OnNotify(7, 15, 66)", "OnNotify(7, 15, 100)"}},
  };
  Bench bench;
  for (const auto& c : cases) {
    bench.Run(MeasureAt(c.wavelengths));
    Texts expected{"OnNotify(7, 25, 0)"};
    for (const std::string& progress : c.progress) {
      expected.emplace_back("OnResult(7, 1)");
      expected.push_back(progress);
    }
    expected.emplace_back("OnNotify(7, 17, 100)");
    EXPECT_EQ(bench.Calls(), expected);
  }
}

TEST(Measure, ChoosesTheOpticsByTheWavelength) {
  struct {
    double dWavelength;
    int iMirror, iFilter;
    bool bHighGain;
    int iHalogen;
    bool bDeuterium;
  } const cases[] = {
      {339.9, 2, 0, true, 0, true},  // the switching point is 340 nm
      {340.0, 1, 1, true, 2, false},  {374.9, 1, 1, true, 2, false},  {375.0, 1, 2, false, 1, false},
      {549.9, 1, 2, false, 1, false}, {550.0, 1, 3, false, 1, false}, {1100.0, 1, 3, false, 1, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dWavelength);
    Bench bench;
    std::optional<simulator::OpticalUnitState> state;
    bench.world.sink.On("OnResult", [&] { state = bench.world.unit.State(); });
    bench.Run(MeasureAt({c.dWavelength}));
    ASSERT_TRUE(state.has_value());
    EXPECT_EQ(state->mirror, c.iMirror);
    EXPECT_EQ(state->filter, c.iFilter);
    EXPECT_EQ(state->bHighGain, c.bHighGain);
    EXPECT_EQ(state->halogen, c.iHalogen);
    EXPECT_EQ(state->bDeuterium, c.bDeuterium);
    EXPECT_FALSE(state->bShutterClosed);
    EXPECT_EQ(bench.Ends(), 1U);
  }
}

TEST(Measure, StampsTagsCuvetteAndTurbidity) {
  Bench bench;
  bench.device->SetCuvetteSize(40);
  bench.world.unit.SetSample(simulator::Sample::Blank().WithTurbidity(10.0), bench.world.board.Now());
  for (const bool bStamps : {true, false}) {
    MeasureRequest request = MeasureAt({365.0, 525.0});
    request.m_Tags = {42, 0xFFFFFFFF};
    request.m_bTurbidity = request.m_bCuvetteSize = bStamps ? TRUE : FALSE;
    bench.Run(request);
    const MeasureValues values = bench.Results();
    ASSERT_EQ(values.size(), 2U);
    EXPECT_EQ(values[0].dwTag, 42U);
    EXPECT_EQ(values[1].dwTag, 0xFFFFFFFFU);
    for (const MeasureValue& value : values) {
      EXPECT_EQ(value.iCuvetteSize, bStamps ? 40 : 0);
      // 200 + 400 counts for each NTU.
      EXPECT_NEAR(value.dTurbidity, bStamps ? 4200.0 : 0.0, bStamps ? 50.0 : 0.0);
    }
    const Texts written = bench.world.Written();
    const auto dark = std::ranges::find(written, "$H1");
    EXPECT_EQ(Texts(dark, dark + 5),
              bStamps ? (Texts{"$H1", "$a3", "$T1", "$G0", "$t"}) : (Texts{"$H1", "$a3", "$H0", "$a3", "$F2"}));
  }
}

TEST(Measure, ValidatesTheRequest) {
  const PhotometerParameters uv = DefaultParameters();
  PhotometerParameters visible = uv;
  visible.bUV = FALSE;
  struct {
    const char* what;
    std::function<void(MeasureRequest&)> change;
    HRESULT withUV, withoutUV;
  } const cases[] = {
      {"sound", [](MeasureRequest&) {}, S_OK, S_OK},
      {"no wavelengths", [](MeasureRequest& r) { r = MeasureAt({}); }, S_OK, S_OK},
      {"no readings", [](MeasureRequest& r) { r.m_dwReadings = 0; }, E_INVALIDARG, E_INVALIDARG},
      {"a tag too few", [](MeasureRequest& r) { r.m_Tags.clear(); }, E_INVALIDARG, E_INVALIDARG},
      {"lowest switching point", [](MeasureRequest& r) { r.m_dLampSwitchingPoint = 330.0; }, S_OK, S_OK},
      {"below", [](MeasureRequest& r) { r.m_dLampSwitchingPoint = 329.9; }, E_INVALIDARG, E_INVALIDARG},
      {"highest switching point", [](MeasureRequest& r) { r.m_dLampSwitchingPoint = 350.0; }, S_OK, S_OK},
      {"above", [](MeasureRequest& r) { r.m_dLampSwitchingPoint = 350.1; }, E_INVALIDARG, E_INVALIDARG},
      {"no number", [](MeasureRequest& r) { r.m_dLampSwitchingPoint = std::nan(""); }, E_INVALIDARG, E_INVALIDARG},
      {"longest wavelength", [](MeasureRequest& r) { r.m_Wavelengths = {1100.0}; }, S_OK, S_OK},
      {"longer", [](MeasureRequest& r) { r.m_Wavelengths = {1100.1}; }, E_INVALIDARG, E_INVALIDARG},
      {"halogen only", [](MeasureRequest& r) { r.m_Wavelengths = {330.0}; }, S_OK, S_OK},
      {"deuterium only", [](MeasureRequest& r) { r.m_Wavelengths = {329.9}; }, S_OK, E_INVALIDARG},
      {"shortest wavelength", [](MeasureRequest& r) { r.m_Wavelengths = {190.0}; }, S_OK, E_INVALIDARG},
      {"shorter", [](MeasureRequest& r) { r.m_Wavelengths = {189.9}; }, E_INVALIDARG, E_INVALIDARG},
      {"NaN", [](MeasureRequest& r) { r.m_Wavelengths = {std::nan("")}; }, E_INVALIDARG, E_INVALIDARG},
  };
  for (const auto& c : cases) {
    MeasureRequest request = MeasureAt({525.0});
    c.change(request);
    EXPECT_EQ(ValidateMeasureRequest(&request, uv), c.withUV) << c.what;
    EXPECT_EQ(ValidateMeasureRequest(&request, visible), c.withoutUV) << c.what;
  }
  EXPECT_EQ(ValidateMeasureRequest(nullptr, uv), E_POINTER);
}

TEST(Measure, RunsOnlyOnceAtATime) {
  Bench bench;
  HRESULT second = S_OK;
  const MeasureRequest request = MeasureAt({525.0});
  bench.world.sink.On("OnNotify(7, 25, 0)", [&] { second = bench.device->StartMeasure(&request); });
  bench.Run(request);
  EXPECT_EQ(second, E_FAIL);
  EXPECT_EQ(bench.Calls(),
            (Texts{"OnNotify(7, 25, 0)", "OnResult(7, 1)", "OnNotify(7, 15, 100)", "OnNotify(7, 17, 100)"}));
}

// ---- failures ----

TEST(Measure, TakesTenAttemptsForAReading) {
  for (const std::uint32_t nInvalid : {1U, 9U, 10U}) {
    SCOPED_TRACE(nInvalid);
    Bench bench;
    for (std::uint32_t n = 0; n < nInvalid; ++n) {
      simulator::Fault fault = Make(FaultKind::Garbage, 'a', 2 * n + 1);  // a dark reading brighter than any light
      fault.bytes = std::string(18, '\xFF');
      bench.world.unit.WireFaults().Add(fault);
    }
    bench.Run(MeasureAt({525.0}));
    EXPECT_EQ(bench.world.LogLines("[Measure] get invalid values...\n"), nInvalid);
    EXPECT_EQ(bench.world.LogLines("[Measure] Pos= 6088  WL= 525  Value= -"), nInvalid);
    const Texts calls = bench.Calls();
    if (nInvalid < 10) {
      EXPECT_EQ(calls, (Texts{"OnNotify(7, 25, 0)", "OnResult(7, 1)", "OnNotify(7, 15, 100)", "OnNotify(7, 17, 100)"}));
      EXPECT_EQ(bench.LastErrorRecord(), "");
    } else {
      EXPECT_EQ(calls, (Texts{"OnNotify(7, 25, 0)", "OnError(0, 4294967293)"}));
      EXPECT_EQ(bench.LastErrorRecord(), "[Measure] GetADValue returned -3");
    }
    EXPECT_TRUE(bench.MeasuresRight());
  }
}

TEST(Measure, EndsWithTheNumberOfTheCommandThatFails) {
  struct {
    char letter;
    const char* command;
    double dWavelength;
    LONG iError, iSilence;
  } const cases[] = {
      {'S', "SetMonochromatorSpeed", 525.0, 104, 102},
      {'A', "SetADSpeed", 525.0, 94, 92},
      {'i', "SetMeasurementLength", 525.0, 44, 42},
      {'r', "SetMirror", 525.0, 54, 52},
      {'F', "SetFilter", 525.0, 4, 2},
      {'g', "SetGain", 525.0, 34, 32},
      {'M', "MoveMonochromator", 525.0, 114, 112},
      {'h', "SetHalogenLamp", 525.0, 64, 62},
      {'H', "SetShutter", 525.0, 24, 22},
      {'a', "GetADValue", 525.0, 132, 132},  // "error" is no reading, and what follows it is silence
      {'T', "SetTurbidityPower", 525.0, 184, 182},
      {'G', "SetTurbidityGain", 525.0, 194, 192},
      {'t', "GetTurbidity", 525.0, 162, 162},
      {'d', "_SetDeuteriumLamp", 220.0, 74, 72},
      {'f', "SetFan", 220.0, 174, 172},
  };
  for (const auto& c : cases) {
    for (const FaultKind kind : {FaultKind::Error, FaultKind::Silence}) {
      SCOPED_TRACE(std::string(1, c.letter) + (kind == FaultKind::Error ? " error" : " silence"));
      Bench bench;
      // A failure before makes the device forget the settings, so that all are sent again.
      bench.world.unit.WireFaults().Add(Make(FaultKind::Error, 'H', 1));
      bench.Run(MeasureAt({365.0}));
      EXPECT_EQ(bench.LastErrorRecord(), "[Measure] SetShutter returned 24");

      bench.world.unit.WireFaults().Clear();
      bench.world.unit.WireFaults().Add(Make(kind, c.letter, 1));
      MeasureRequest request = MeasureAt({c.dWavelength});
      request.m_bTurbidity = TRUE;
      bench.Run(request);
      const LONG iNumber = kind == FaultKind::Error ? c.iError : c.iSilence;
      Texts calls = bench.Calls();
      std::erase_if(calls, [](const std::string& call) {
        return call.starts_with("OnWarmUpCountdown") || call.starts_with("OnLampSwitching");
      });
      EXPECT_EQ(calls, (Texts{"OnNotify(7, 25, 0)", "OnError(0, " + std::to_string(iNumber) + ")"}));
      EXPECT_EQ(bench.LastErrorRecord(),
                "[Measure] " + std::string(c.command) + " returned " + std::to_string(iNumber));
      const Texts written = bench.world.Written();
      EXPECT_EQ(Texts(written.end() - 4, written.end()), SWITCH_OFF);
      bench.world.unit.WireFaults().Clear();
      bench.world.ExpectSwitchedOff();
      EXPECT_TRUE(bench.MeasuresRight());
    }
  }
}

TEST(Measure, EndsWhenTheDeuteriumLampStaysDark) {
  Bench bench;
  bench.world.unit.SetFaults({.bDeuteriumLights = false});
  bench.Run(MeasureAt({220.0}));
  EXPECT_EQ(bench.world.sink.Count("OnError(0, 77)"), 1U);
  EXPECT_EQ(bench.Ends(), 0U);
  bench.world.ExpectSwitchedOff();
  bench.world.unit.SetFaults({});
  EXPECT_TRUE(bench.MeasuresRight());
}

TEST(Measure, GivesTheDeviceBackWhenItsThreadCannotBeMade) {
  Bench bench;
  bench.world.kernel.threads.Start(1);
  const MeasureRequest request = MeasureAt({525.0});
  EXPECT_EQ(bench.device->StartMeasure(&request), E_FAIL);
  EXPECT_FALSE(bench.device->GetStatus().bBusy);
  EXPECT_TRUE(bench.MeasuresRight());
}

// ---- cancel and shutdown ----

WorldOptions Scheduled(Policy policy, std::uint64_t nSeed) {
  WorldOptions options;
  options.board.policy = policy;
  options.board.seed = nSeed;
  return options;
}

struct Schedule {
  Policy policy;
  std::uint64_t nSeed;
};
constexpr Schedule SCHEDULES[]{{Policy::FirstCome, 1}, {Policy::Random, 1}, {Policy::Random, 2}};

MeasureRequest LongRequest() {
  MeasureRequest request = MeasureAt({365.0, 525.0});
  request.m_dwReadings = 2;
  request.m_bTurbidity = TRUE;
  return request;
}

/// Scheduling points of an undisturbed run.
std::uint64_t PointsOfARun(Bench& bench) {
  const std::uint64_t nFirst = bench.world.board.Points();
  bench.Run(LongRequest());
  return bench.world.board.Points() - nFirst;
}

TEST(Measure, HasOneEndWhereverItIsCancelled) {
  for (const Schedule& schedule : SCHEDULES) {
    Bench bench(Scheduled(schedule.policy, schedule.nSeed));
    const std::uint64_t nPoints = PointsOfARun(bench);
    std::size_t nFinished = 0;
    std::size_t nCancelled = 0;
    for (std::uint64_t n = 0; n < nPoints + 20; n += 5) {
      SCOPED_TRACE("seed " + std::to_string(schedule.nSeed) + ", point " + std::to_string(n) + " of " +
                   std::to_string(nPoints));
      std::atomic<bool> bCalled = false;
      HRESULT result = S_OK;
      bench.world.board.RunAtPoint(bench.world.board.Points() + 1 + n, "host", [&] {
        result = bench.device->CancelMeasurement();
        bCalled = true;
      });
      bench.Run(LongRequest());
      while (!bCalled) {
        Sleep(10);
      }
      EXPECT_EQ(bench.Ends(), 1U);
      const bool bCancelled = bench.world.sink.Count("OnNotify(7, 18, 100)") == 1;
      EXPECT_TRUE(bCancelled || bench.Results().size() == 4U) << "what finishes is complete";
      EXPECT_FALSE(bCancelled && result != S_OK);
      EXPECT_FALSE(bench.device->GetStatus().bCancel);
      EXPECT_EQ(bench.device->CancelMeasurement(), E_FAIL);
      EXPECT_EQ(bench.world.unit.State().halogen, 0);
      EXPECT_EQ(bench.world.unit.State().mirror, 0);
      nFinished += bCancelled ? 0 : 1;
      nCancelled += bCancelled ? 1 : 0;
      if (n % 25 == 0) {
        EXPECT_TRUE(bench.MeasuresRight());
      }
      ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(nCancelled, 20U);
    EXPECT_GT(nFinished, 0U) << "a cancel behind the end changes nothing";
  }
}

TEST(Measure, CancelInTheLastCallbackGivesOneEnd) {
  struct {
    const char* callback;
    const char* end;
  } const cases[] = {
      {"OnNotify(7, 25, 0)", "OnNotify(7, 18, 100)"},
      {"OnResult(7, 1)", "OnNotify(7, 18, 100)"},
      {"OnNotify(7, 15, 100)", "OnNotify(7, 18, 100)"},
      {"OnNotify(7, 17, 100)", "OnNotify(7, 17, 100)"},
  };
  for (const auto& c : cases) {
    Bench bench;
    bench.world.sink.On(c.callback, [&] { EXPECT_EQ(bench.device->CancelMeasurement(), S_OK); });
    bench.Run(MeasureAt({525.0}));
    EXPECT_EQ(bench.Calls().back(), c.end) << c.callback;
    EXPECT_EQ(bench.Ends(), 1U);
    const bool bFinished = c.end == cases[3].end;
    EXPECT_EQ(bench.world.LogLines("[Measure] Measurement was canceled."), bFinished ? 0U : 1U);
    EXPECT_EQ(bench.world.LogLines("[Photometer_Measurement_Completed]"), bFinished ? 1U : 0U);
    bench.world.sink.On(c.callback, nullptr);
    EXPECT_TRUE(bench.MeasuresRight());
  }
}

TEST(Measure, StartsAgainAfterAShutdownAnywhere) {
  constexpr std::uint64_t RUNS = 25;
  for (const Schedule& schedule : SCHEDULES) {
    Bench bench(Scheduled(schedule.policy, schedule.nSeed));
    const std::uint64_t nPoints = PointsOfARun(bench);
    for (std::uint64_t n = 0; n < RUNS; ++n) {
      SCOPED_TRACE("seed " + std::to_string(schedule.nSeed) + ", run " + std::to_string(n));
      std::atomic<bool> bDown = false;
      bench.Forget();
      bench.world.board.RunAtPoint(bench.world.board.Points() + 1 + nPoints * n / RUNS, "host", [&] {
        bench.world.sink.ForbidCallbacks();
        EXPECT_EQ(bench.device->Shutdown(), S_OK);
        bDown = true;
      });
      const MeasureRequest request = LongRequest();
      bench.device->StartMeasure(&request);
      while (!bDown) {
        Sleep(10);
      }
      EXPECT_LE(bench.Ends(), 1U);
      EXPECT_FALSE(bench.device->GetStatus().bBusy);
      bench.world.ExpectSwitchedOff();
      EXPECT_EQ(bench.world.Faults(), Texts{});
      bench.world.sink.AllowCallbacks();
      EXPECT_TRUE(bench.StartUp());
      EXPECT_TRUE(bench.MeasuresRight());
      ASSERT_FALSE(HasFailure());
    }
  }
}

}  // namespace
}  // namespace photometer::tests
