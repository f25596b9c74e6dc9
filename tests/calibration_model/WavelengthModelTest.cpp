#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/WavelengthModel.h"
#include "platform/Platform.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

constexpr DWORD LAST_POSITION = FIRST_POSITION + POSITIONS_COUNT - 1;

PhotometerParameters Polynomial(double dA, double dB, double dC, double dD) {
  PhotometerParameters params = DefaultParameters();
  params.dA = dA;
  params.dB = dB;
  params.dC = dC;
  params.dD = dD;
  return params;
}

/// A model with a table, if the parameters give one.
struct ModelWorld {
  World world;
  DeviceState state;
  WavelengthModel model{state};
  BOOL bHasTable;

  explicit ModelWorld(const PhotometerParameters& params = DefaultParameters()) {
    state.Lock()->m_Params = params;
    bHasTable = model.BuildTable();
  }
};

TEST(WavelengthModel, WavelengthOfPosition) {
  struct {
    PhotometerParameters params;
    DWORD dwPosition;
    double dWavelength;
  } const cases[] = {
      {Polynomial(0, 0, 100, 0), 2049, 0.20},      {Polynomial(0, 0, 100, 0), 2050, 0.21},
      {Polynomial(0, 0, 1000, 0), 14499, 14.5},    {Polynomial(0, 0, 0, -6000), 2000, 0.0},  // -0.6 + 0.5
      {Polynomial(0, 0, 0, -25'000), 2000, -0.02},                                           // -2.5 + 0.5
      {Polynomial(1, 0, 0, 0), 2000, 8000.0},      {Polynomial(0, 1, 0, 4'999), 2000, 4.0},
      {Polynomial(0, 1, 0, 5'000), 2000, 4.01},    {DefaultParameters(), 4200, 366.76},
  };
  for (const auto& c : cases) {
    EXPECT_NEAR(WavelengthOfPosition(c.params, c.dwPosition), c.dWavelength, 1e-9) << c.dwPosition;
  }
}

TEST(WavelengthModel, WithoutATable) {
  const PhotometerParameters noWavelengths[] = {
      Polynomial(std::nan(""), 0, 0, 0), Polynomial(1e300, 0, 0, 0), Polynomial(0, 0, 0, 2.15e13),
      Polynomial(0, 0, 0, -2.15e13),     Polynomial(8, 0, 0, 0),  // the last positions only
  };
  for (const PhotometerParameters& params : noWavelengths) {
    const ModelWorld w(params);
    EXPECT_FALSE(w.bHasTable);
    EXPECT_FALSE(w.model.HasTable());
    EXPECT_EQ(w.model.GetTablePosition(500.0), 0U);
    std::vector<double> wavelengths{1.0};
    w.model.GetTableWavelengths(400.0, 500.0, &wavelengths);
    EXPECT_TRUE(wavelengths.empty());
  }
  ModelWorld w(noWavelengths[0]);
  w.state.Lock()->m_Params = DefaultParameters();
  for (int n = 1; n <= 2; ++n) {
    w.world.kernel.memory.Start(n);
    EXPECT_FALSE(w.model.BuildTable()) << "without memory for array " << n;
  }
  EXPECT_TRUE(w.model.BuildTable());
  EXPECT_NE(w.model.GetTablePosition(500.0), 0U);
}

TEST(WavelengthModel, NearestEntry) {
  struct {
    PhotometerParameters params;
    double dWavelength;
    DWORD dwPosition;
  } const cases[] = {
      {Polynomial(0, 0, 10'000, 0), 20.0049, 2000},        {Polynomial(0, 0, 10'000, 0), 20.0051, 2001},
      {Polynomial(0, 0, 500'000, 0), 1000.25, 2000},  // as far from 1000.5: the lower entry
      {DefaultParameters(), 0.0, FIRST_POSITION},          {DefaultParameters(), 2000.0, LAST_POSITION},
      {DefaultParameters(), std::nan(""), FIRST_POSITION}, {Polynomial(0, 0, 100, 0), 0.21, 2050},
  };
  for (const auto& c : cases) {
    const ModelWorld w(c.params);
    EXPECT_EQ(w.model.GetTablePosition(c.dWavelength), c.dwPosition) << c.dWavelength;
  }
}

TEST(WavelengthModel, OffsetIsAddedAndOutlivesTheTable) {
  ModelWorld w(Polynomial(0, 0, 1000, 0));
  EXPECT_EQ(w.model.GetPositionOffset(), 0);
  w.model.SetPositionOffset(-3);
  EXPECT_EQ(w.model.GetTablePosition(2.0), 2000U);
  w.model.FreeTable();
  w.model.FreeTable();
  EXPECT_TRUE(w.model.BuildTable());
  EXPECT_EQ(w.model.GetMonochromatorPosition(2.0), 1997);
}

TEST(WavelengthModel, TableWavelengths) {
  ModelWorld w(Polynomial(0, 0, 10'000, 0));
  struct {
    double dFirst;
    double dLast;
    std::vector<double> wavelengths;
  } const cases[] = {
      {30.0, 30.02, {30.0, 30.01, 30.02}}, {30.02, 30.0, {}}, {0.0, 20.01, {20.0, 20.01}}, {144.99, 200.0, {144.99}}};
  for (const auto& c : cases) {
    std::vector<double> wavelengths{1.0, 2.0};
    w.model.GetTableWavelengths(c.dFirst, c.dLast, &wavelengths);
    EXPECT_EQ(wavelengths, c.wavelengths);
  }
  w.model.GetTableWavelengths(30.0, 31.0, nullptr);
}

TEST(WavelengthModel, FilterPositions) {
  struct {
    BOOL bUV;
    double dWavelength;
    DWORD dwPosition;
  } const cases[] = {
      {1, 550.0, 3}, {1, 549.9, 2}, {1, 449.9, 2}, {1, 375.0, 2}, {1, 374.9, 1}, {1, 340.0, 1}, {1, 339.9, 0},
      {0, 550.0, 4}, {0, 549.9, 3}, {0, 450.0, 3}, {0, 449.9, 2}, {0, 375.0, 2}, {0, 374.9, 1}, {0, 339.9, 0},
  };
  ModelWorld w;
  w.state.Lock()->m_MeasureRequest.m_dLampSwitchingPoint = 340.0;
  for (const auto& c : cases) {
    w.state.Lock()->m_Params.bUV = c.bUV;
    EXPECT_EQ(w.model.GetFilterPosition(c.dWavelength), c.dwPosition) << c.dWavelength << ", UV " << c.bUV;
  }
}

}  // namespace
}  // namespace photometer::tests
