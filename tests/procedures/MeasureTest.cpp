#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/Measure.h"

namespace photometer::tests {
namespace {

using simulator::FaultKind;

MeasureRequest Request(const std::vector<double>& wavelengths) {
  MeasureRequest request = MeasureAt(wavelengths);
  request.m_dwRequestId = RUN_ID;
  return request;
}

Start MeasureOf(const MeasureRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartMeasure(&request); };
}

MeasureRequest WithEverything(const std::vector<double>& wavelengths) {
  MeasureRequest request = Request(wavelengths);
  request.m_dwReadings = 2;
  request.m_bTurbidity = request.m_bCuvetteSize = TRUE;
  return request;
}

// ---- what it does ----

TEST(Measure, SetsAndReadsInThisOrder) {
  ReadyDevice device;
  MeasureRequest request = Request({365.0, 525.0});
  request.m_dwReadings = 2;
  device.Run(MeasureOf(request));
  EXPECT_EQ(device.world.Written(), (Texts{
                                        "$r1", "$F1", "$g1",    "$M4179", "$h2",  // 365 nm
                                        "$H1", "$a3", "$H0",    "$a3",            //
                                        "$H1", "$a3", "$H0",    "$a3",            //
                                        "$F2", "$g0", "$M6088", "$h1",            // 525 nm
                                        "$H1", "$a3", "$H0",    "$a3",            //
                                        "$H1", "$a3", "$H0",    "$a3",            //
                                        "$r0", "$h0",                             // end
                                    }));
  EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnResult(9, 2)", "OnNotify(9, 15, 50)", "OnResult(9, 2)",
                                   "OnNotify(9, 15, 100)", "OnNotify(9, 17, 100)"}));
  EXPECT_EQ(device.Log(),
            (Texts{"[Measure] [9] Thread started", "[Measure] delegate action [Photometer_Measurement_Completed]...",
                   "[Measure] [9] Thread closed, iResult= 0"}));
}

TEST(Measure, NotifiesTheProgress) {
  ReadyDevice device;
  device.Run(MeasureOf(Request({})));
  EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 17, 100)"}));
  device.Run(MeasureOf(Request({365.0, 525.0, 700.0})));
  EXPECT_EQ(device.Calls("OnNotify(9, 15"),
            (Texts{"OnNotify(9, 15, 33)", "OnNotify(9, 15, 66)", "OnNotify(9, 15, 100)"}));
}

TEST(Measure, ChoosesTheOpticsByTheWavelength) {
  struct {
    double dWavelength;
    int iMirror, iFilter;
    bool bHighGain;
    int iHalogen;
    bool bDeuterium;
    bool bUV = true;
  } const cases[] = {
      {339.9, 2, 0, true, 0, true},  // the switching point is 340 nm
      {339.9, 0, 0, true, 2, false, false}, {340.0, 1, 1, true, 2, false},  {374.9, 1, 1, true, 2, false},
      {375.0, 1, 2, false, 1, false},       {549.9, 1, 2, false, 1, false}, {550.0, 1, 3, false, 1, false},
      {1100.0, 1, 3, false, 1, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dWavelength);
    WorldOptions options;
    options.unit.bUV = c.bUV;
    ReadyDevice device(options);
    simulator::OpticalUnitState state{};
    device.AtValue(1, [&] { state = device.world.unit.State(); });
    EXPECT_EQ(device.Run(MeasureOf(Request({c.dWavelength}))).size(), 1U);
    EXPECT_EQ(state.mirror, c.iMirror);
    EXPECT_EQ(state.filter, c.iFilter);
    EXPECT_EQ(state.bHighGain, c.bHighGain);
    EXPECT_EQ(state.halogen, c.iHalogen);
    EXPECT_EQ(state.bDeuterium, c.bDeuterium);
  }
}

/// A lamp that has yet to be lit is watched through the open shutter; a run that failed may have left it closed.
TEST(Measure, OpensTheShutterForADarkDeuteriumLamp) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::Error, .letter = 'a', .nth = 1});
  device.Run(MeasureOf(Request({525.0})));
  device.world.unit.WireFaults().Clear();
  EXPECT_EQ(device.Run(MeasureOf(Request({220.0}))).size(), 1U);
  const Texts written = device.world.Written();
  EXPECT_LT(std::ranges::find(written, "$H0"), std::ranges::find(written, "$d1"));
}

TEST(Measure, StampsTagsCuvetteAndTurbidity) {
  ReadyDevice device;
  device->SetCuvetteSize(40);
  device.world.unit.SetSample(simulator::Sample::Blank().WithTurbidity(10.0), device.world.board.Now());
  struct {
    BOOL bTurbidity, bCuvetteSize;
    LONG iCuvetteSize;
    double dTurbidity;
    Texts written;
  } const cases[] = {
      {TRUE, FALSE, 0, 200.0 + 400.0 * 10.0, {"$H1", "$a3", "$T1", "$G0", "$t", "$H0"}},
      {FALSE, TRUE, 40, 0.0, {"$H1", "$a3", "$H0", "$a3", "$F2", "$g0"}},
  };
  for (const auto& c : cases) {
    MeasureRequest request = Request({365.0, 525.0});
    request.m_Tags = {42, 0xFFFFFFFF};
    request.m_bTurbidity = c.bTurbidity;
    request.m_bCuvetteSize = c.bCuvetteSize;
    const MeasureValues values = device.Run(MeasureOf(request));
    ASSERT_EQ(values.size(), 2U);
    EXPECT_EQ(values[0].dwTag, 42U);
    EXPECT_EQ(values[1].dwTag, 0xFFFFFFFFU);
    for (const MeasureValue& value : values) {
      EXPECT_EQ(value.iCuvetteSize, c.iCuvetteSize);
      EXPECT_NEAR(value.dTurbidity, c.dTurbidity, c.bTurbidity ? 50.0 : 0.0);
    }
    const Texts written = device.world.Written();
    const auto dark = std::ranges::find(written, "$H1");
    EXPECT_EQ(Texts(dark, dark + 6), c.written);
  }
}

TEST(Measure, ValidatesTheRequest) {
  using R = MeasureRequest;
  const PhotometerParameters uv = DefaultParameters();
  PhotometerParameters visible = uv;
  visible.bUV = FALSE;
  struct {
    const char* what;
    std::function<void(R&)> change;
    HRESULT withUV, withoutUV;
  } const cases[] = {
      {"sound", [](R&) {}, S_OK, S_OK},
      {"no wavelengths", [](R& r) { r = MeasureAt({}); }, S_OK, S_OK},
      {"no readings", [](R& r) { r.m_dwReadings = 0; }, E_INVALIDARG, E_INVALIDARG},
      {"a tag too few", [](R& r) { r.m_Tags.clear(); }, E_INVALIDARG, E_INVALIDARG},
      {"lowest switching point", [](R& r) { r.m_dLampSwitchingPoint = 330.0; }, S_OK, S_OK},
      {"below", [](R& r) { r.m_dLampSwitchingPoint = 329.9; }, E_INVALIDARG, E_INVALIDARG},
      {"highest switching point", [](R& r) { r.m_dLampSwitchingPoint = 350.0; }, S_OK, S_OK},
      {"above", [](R& r) { r.m_dLampSwitchingPoint = 350.1; }, E_INVALIDARG, E_INVALIDARG},
      {"no number", [](R& r) { r.m_dLampSwitchingPoint = std::nan(""); }, E_INVALIDARG, E_INVALIDARG},
      {"longest wavelength", [](R& r) { r.m_Wavelengths = {1100.0}; }, S_OK, S_OK},
      {"longer", [](R& r) { r.m_Wavelengths = {1100.1}; }, E_INVALIDARG, E_INVALIDARG},
      {"halogen only", [](R& r) { r.m_Wavelengths = {330.0}; }, S_OK, S_OK},
      {"deuterium only", [](R& r) { r.m_Wavelengths = {329.9}; }, S_OK, E_INVALIDARG},
      {"shortest wavelength", [](R& r) { r.m_Wavelengths = {190.0}; }, S_OK, E_INVALIDARG},
      {"shorter", [](R& r) { r.m_Wavelengths = {189.9}; }, E_INVALIDARG, E_INVALIDARG},
      {"NaN", [](R& r) { r.m_Wavelengths = {std::nan("")}; }, E_INVALIDARG, E_INVALIDARG},
  };
  for (const auto& c : cases) {
    R request = MeasureAt({525.0});
    c.change(request);
    EXPECT_EQ(ValidateMeasureRequest(&request, uv), c.withUV) << c.what;
    EXPECT_EQ(ValidateMeasureRequest(&request, visible), c.withoutUV) << c.what;
  }
  EXPECT_EQ(ValidateMeasureRequest(nullptr, uv), E_POINTER);
}

// ---- failures ----

TEST(Measure, TakesTenAttemptsForAReading) {
  for (const std::uint32_t nInvalid : {9U, 10U}) {
    SCOPED_TRACE(nInvalid);
    ReadyDevice device;
    for (std::uint32_t n = 0; n < nInvalid; ++n) {
      // A dark reading brighter than any light.
      device.world.unit.WireFaults().Add(
          {.kind = FaultKind::Garbage, .letter = 'a', .nth = 2 * n + 1, .bytes = std::string(18, '\xFF')});
    }
    const bool bFails = nInvalid == 10;
    EXPECT_EQ(device.Run(MeasureOf(Request({525.0}))).size(), bFails ? 0U : 1U);
    const Texts log = device.Log();
    EXPECT_EQ(std::ranges::count(log, "[Measure] get invalid values..."), nInvalid);
    const auto isValue = [](const std::string& line) {
      return line.starts_with("[Measure] Pos= 6088  WL= 525  Value= -") &&
             line.find("  ValueRef= -") != std::string::npos;
    };
    EXPECT_EQ(std::ranges::count_if(log, isValue), nInvalid);
    EXPECT_EQ(std::ranges::count(log, "[Measure] GetADValue returned -3"), bFails ? 1 : 0);
    EXPECT_EQ(device.Errors(), bFails ? Texts{"OnError(0, 4294967293)"} : Texts{});
    EXPECT_EQ(device.Notified(FINISHED), bFails ? 0U : 1U);
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
      ReadyDevice device;
      // A failure before makes the device forget the settings, so that all are sent again.
      device.world.unit.WireFaults().Add({.kind = FaultKind::Error, .letter = 'H', .nth = 1});
      device.Run(MeasureOf(Request({365.0})));
      device.world.unit.WireFaults().Clear();
      device.ExpectFailure(MeasureOf(WithEverything({c.dWavelength})),
                           {.fault = {.kind = kind, .letter = c.letter, .nth = 1},
                            .iResult = kind == FaultKind::Error ? c.iError : c.iSilence,
                            .strRecord = std::string("[Measure] ") + c.command});
    }
  }
}

// ---- cancel ----

TEST(Measure, CancelledAtManyPoints) { ExpectCancellable(MeasureOf(WithEverything({365.0, 525.0})), 120); }

TEST(Measure, CancelIsSeenAtItsPlaces) {
  // The first writing of a command during which the host cancels, and what is still written before the end.
  const std::pair<const char*, Texts> cases[] = {
      {"$M4179\r", {"$M4179"}},
      {"$H0\r", {"$H0", "$a3"}},
      {"$F2\r", {"$F2", "$g0", "$M6088"}},
  };
  for (const auto& [command, expected] : cases) {
    SCOPED_TRACE(command);
    ReadyDevice device;
    bool bDone = false;
    device.world.ports.beforeWrite = [&, command = std::string(command)](std::string_view bytes) {
      if (bytes == command && !std::exchange(bDone, true)) {
        EXPECT_EQ(device->CancelMeasurement(), S_OK);
      }
    };
    MeasureRequest request = Request({365.0, 525.0});
    request.m_dwReadings = 2;
    const MeasureValues values = device.Run(MeasureOf(request));
    device.world.ports.beforeWrite = nullptr;
    EXPECT_EQ(values.size(), expected.front() == "$F2" ? 2U : 0U) << "no part of a wavelength";
    Texts written = device.world.Written();
    std::erase(written, "$r0");
    std::erase(written, "$h0");
    EXPECT_EQ(Texts(std::ranges::find(written, expected.front()), written.end()), expected);
    EXPECT_EQ(device.Notified(CANCELLED), 1U);
  }
}

TEST(Measure, CancelInACallbackGivesOneEnd) {
  struct {
    const char* callback;
    DWORD dwEnd;
  } const cases[] = {
      {"OnNotify(9, 25, 0)", CANCELLED},
      {"OnResult(9, 1)", CANCELLED},
      {"OnNotify(9, 15, 100)", CANCELLED},
      {"OnNotify(9, 17, 100)", FINISHED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.callback);
    ReadyDevice device;
    device.world.sink.On(c.callback, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
    device.Run(MeasureOf(Request({525.0})));
    EXPECT_EQ(device.Notified(c.dwEnd), 1U);
    EXPECT_EQ(device.Notified(FINISHED) + device.Notified(CANCELLED), 1U);
    const Texts log = device.Log();
    const bool bFinished = c.dwEnd == FINISHED;
    EXPECT_EQ(std::ranges::count(log, "[Measure] Measurement was canceled."), bFinished ? 0 : 1);
    EXPECT_EQ(std::ranges::count(log, "[Measure] delegate action [Photometer_Measurement_Completed]..."),
              bFinished ? 1 : 0);
  }
}

}  // namespace
}  // namespace photometer::tests
