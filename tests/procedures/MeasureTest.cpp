#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/Measure.h"

namespace photometer::tests {
namespace {

Start MeasureOf(const std::vector<double>& wavelengths) { return StartOf(RequestAt(wavelengths)); }

TEST(Measure, SetsAndReadsInThisOrder) {
  ReadyDevice device;
  device->SetCuvetteSize(40);
  MeasureRequest request = RequestAt({365.0, 525.0, 700.0});
  request.m_dwReadings = 2;
  for (const MeasureValue& value : device.Run(StartOf(request))) {
    EXPECT_EQ(value.iCuvetteSize, 0) << "nobody asked for it";
    EXPECT_EQ(value.dTurbidity, 0.0);
  }
  EXPECT_EQ(device.world.Written(), (Texts{
                                        "$r1", "$F1",    "$g1",    "$M4179", "$h2",  // 365 nm
                                        "$H1", "$a3",    "$H0",    "$a3",            //
                                        "$H1", "$a3",    "$H0",    "$a3",            //
                                        "$F2", "$g0",    "$M6088", "$h1",            // 525 nm
                                        "$H1", "$a3",    "$H0",    "$a3",            //
                                        "$H1", "$a3",    "$H0",    "$a3",            //
                                        "$F3", "$M8285",                             // 700 nm
                                        "$H1", "$a3",    "$H0",    "$a3",            //
                                        "$H1", "$a3",    "$H0",    "$a3",            //
                                        "$r0", "$h0",                                // end
                                    }));
  EXPECT_EQ(device.Calls(),
            (Texts{"OnNotify(9, 25, 0)", "OnResult(9, 2)", "OnNotify(9, 15, 33)", "OnResult(9, 2)",
                   "OnNotify(9, 15, 66)", "OnResult(9, 2)", "OnNotify(9, 15, 100)", "OnNotify(9, 17, 100)"}));
  EXPECT_EQ(device.Log(),
            (Texts{"[Measure] [9] Thread started", "[Measure] delegate action [Photometer_Measurement_Completed]...",
                   "[Measure] [9] Thread closed, iResult= 0"}));
  device.Run(MeasureOf({}));
  EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 17, 100)"}));
}

TEST(Measure, ChoosesTheOpticsByTheWavelength) {
  struct {
    double dWavelength;
    bool bUV;
    /// Before the shutter.
    Texts expected;
  } const cases[] = {
      {339.9, true, {"$r2", "$F0", "$g1", "$M3886", "$a3", "$d1", "$a3", "$f7"}},
      {339.9, false, {"$F0", "$g1", "$M3886", "$h2"}},
      {340.0, true, {"$r1", "$F1", "$g1", "$M3887", "$h2"}},
      {374.9, true, {"$r1", "$F1", "$g1", "$M4295", "$h2"}},
      {375.0, true, {"$r1", "$F2", "$M4297", "$h1"}},  // the gain is normal from the start-up
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dWavelength);
    WorldOptions options;
    options.unit.bUV = c.bUV;
    ReadyDevice device(options);
    EXPECT_EQ(device.Run(MeasureOf({c.dWavelength})).size(), 1U);
    const Texts written = device.world.Written();
    EXPECT_EQ(Texts(written.begin(), std::ranges::find(written, "$H1")), c.expected);
  }
}

/// A lamp that has yet to be lit is watched through the open shutter; a run that failed may have left it closed.
TEST(Measure, OpensTheShutterForADarkDeuteriumLamp) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = simulator::FaultKind::Error, .letter = 'a', .nth = 1});
  device.Run(MeasureOf({525.0}));
  device.world.unit.WireFaults().Clear();
  EXPECT_EQ(device.Run(MeasureOf({220.0})).size(), 1U);
  const Texts written = device.world.Written();
  EXPECT_LT(std::ranges::find(written, "$H0"), std::ranges::find(written, "$d1"));
}

TEST(Measure, StampsTagsCuvetteAndTurbidity) {
  ReadyDevice device;
  device->SetCuvetteSize(40);
  device.world.unit.SetSample(simulator::Sample::Blank().WithTurbidity(10.0), device.world.board.Now());
  MeasureRequest request = RequestAt({365.0, 525.0});
  request.m_Tags = {42, 0xFFFFFFFF};
  request.m_bTurbidity = request.m_bCuvetteSize = TRUE;
  const MeasureValues values = device.Run(StartOf(request));
  ASSERT_EQ(values.size(), 2U);
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].dwTag, request.m_Tags[i]);
    EXPECT_EQ(values[i].iCuvetteSize, 40);
    EXPECT_NEAR(values[i].dTurbidity, 200.0 + 400.0 * 10.0, 50.0);
  }
  const Texts written = device.world.Written();
  const auto dark = std::ranges::find(written, "$H1");
  EXPECT_EQ(Texts(dark, dark + 6), (Texts{"$H1", "$a3", "$T1", "$G0", "$t", "$H0"}));
}

TEST(Measure, ValidatesTheRequest) {
  constexpr HRESULT BAD = E_INVALIDARG;
  struct {
    double dWavelength, dSwitching;
    HRESULT withUV, withoutUV;
  } const cases[] = {
      {190.0, 340.0, S_OK, BAD},       {189.9, 340.0, BAD, BAD},    {329.9, 340.0, S_OK, BAD},
      {330.0, 330.0, S_OK, S_OK},      {1100.0, 350.0, S_OK, S_OK}, {1100.1, 340.0, BAD, BAD},
      {std::nan(""), 340.0, BAD, BAD}, {525.0, 329.9, BAD, BAD},    {525.0, 350.1, BAD, BAD},
  };
  PhotometerParameters params = DefaultParameters();
  for (const auto& c : cases) {
    MeasureRequest request = MeasureAt({525.0, c.dWavelength});
    request.m_dLampSwitchingPoint = c.dSwitching;
    for (const BOOL bUV : {TRUE, FALSE}) {
      params.bUV = bUV;
      EXPECT_EQ(ValidateMeasureRequest(&request, params), bUV ? c.withUV : c.withoutUV) << c.dWavelength;
    }
  }
  MeasureRequest noReadings = MeasureAt({525.0});
  noReadings.m_dwReadings = 0;
  MeasureRequest noTags = MeasureAt({525.0});
  noTags.m_Tags.clear();
  EXPECT_EQ(ValidateMeasureRequest(&noReadings, params), BAD);
  EXPECT_EQ(ValidateMeasureRequest(&noTags, params), BAD);
}

}  // namespace
}  // namespace photometer::tests
