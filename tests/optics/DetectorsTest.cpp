#include <array>
#include <string>

#include <gtest/gtest.h>

#include "optics/Detectors.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

constexpr double UNTOUCHED = -7.0;
constexpr DWORD FULL_SCALE = 0xFFFFFF;

TEST(Detectors, GetADValue) {
  const std::string three = Readings(3, 6, 3);
  struct {
    const char* what;
    Answer answer;
    DWORD dwResult;
    double dSample;
    double dReference;
  } const cases[] = {
      {"three equal readings", {{300, three}}, 0, 3.0, 6.0},
      {"no sign", {{300, Readings(FULL_SCALE, FULL_SCALE, 3)}}, 0, 16777215.0, 16777215.0},
      {"average", {{300, Readings(1, 0, 1) + Readings(2, 0, 1) + Readings(2, 1, 1)}}, 0, 5.0 / 3.0, 1.0 / 3.0},
      {"byte order", {{300, Readings(0x010203, 0x040506, 3)}}, 0, 66051.0, 263430.0},
      {"in pieces",
       {{300, three.substr(0, 1)}, {5000, three.substr(1, 16)}, {59 * SECOND, three.substr(17)}},
       0,
       3.0,
       6.0},
      {"words do not count", {{300, "ok error ok error "}}, 0, UNTOUCHED, UNTOUCHED},
      {"17 bytes", {{300, three.substr(0, 17)}}, 132, UNTOUCHED, UNTOUCHED},
      {"nothing", {}, 132, UNTOUCHED, UNTOUCHED},
      {"19 bytes", {{300, three + "."}}, 133, UNTOUCHED, UNTOUCHED},
      {"error", {{300, "error\r\n"}}, 132, UNTOUCHED, UNTOUCHED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    optics.device.Script("$a3", c.answer);
    double dSample = UNTOUCHED;
    double dReference = UNTOUCHED;
    EXPECT_EQ(optics.detectors.GetADValue(&dSample, &dReference), c.dwResult);
    if (c.dwResult != 0 || c.dSample != UNTOUCHED) {
      EXPECT_DOUBLE_EQ(dSample, c.dSample);
      EXPECT_DOUBLE_EQ(dReference, c.dReference);
    }
    EXPECT_EQ(optics.state.LastCommand(), "GetADValue");
  }
}

TEST(Detectors, Scan) {
  constexpr DWORD COUNT = 10;
  const std::string points = Readings(5, 9, COUNT);
  struct {
    const char* what;
    Answer answer;
    DWORD dwResult;
  } const cases[] = {
      {"63 bytes", {{300, points + "ok\r"}}, 0},
      {"the end comes later", {{300, points}, {50'000, "o"}, {50'000, "k\r"}}, 0},
      {"point by point", {{300, points.substr(0, 7)}, {5000, points.substr(7)}, {5000, "..."}}, 0},
      {"65 bytes are not yet too many, and never enough", {{300, points + "....."}}, 152},
      {"66 bytes", {{300, points + "......"}}, 153},
      {"short", {{300, points}}, 152},
      {"error at once", {{300, "error\r\n"}}, 154},
      {"error in two pieces behind some points", {{300, points.substr(0, 13) + "err"}, {5000, "or"}}, 154},
      {"error before too much", {{300, points + "error......"}}, 154},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    optics.Cache(CacheEntry::MonochromatorPosition, 4990);
    optics.device.Script("$s5000", c.answer);
    std::array<double, COUNT> sample{};
    std::array<double, COUNT> reference{};
    EXPECT_EQ(optics.detectors.Scan(4999, sample.data(), reference.data(), COUNT), c.dwResult);
    EXPECT_EQ(sample.back(), c.dwResult == 0 ? 5.0 : 0.0);
    EXPECT_EQ(reference.front(), c.dwResult == 0 ? 9.0 : 0.0);
    EXPECT_EQ(optics.Cached(CacheEntry::MonochromatorPosition), c.dwResult == 0 ? 5000 : UNKNOWN);
  }
}

/// Eight groups whose first and second value are these.
std::string Turbidity(DWORD dwFirst, DWORD dwSecond) {
  std::string bytes;
  for (int i = 0; i < 8; ++i) {
    bytes += Bytes24(dwFirst) + "???" + Bytes24(dwSecond) + "???";
  }
  return bytes;
}

TEST(Detectors, GetTurbidity) {
  struct {
    const char* what;
    std::string answer;
    DWORD dwResult;
    double dValue;
  } const cases[] = {
      {"100 each", Turbidity(1000, 1100), 0, 100.0},
      {"a negative sum wraps", Turbidity(1001, 1000), 0, 536870911.0},
      {"95 bytes", Turbidity(1, 2).substr(1), 162, UNTOUCHED},
      {"97 bytes", Turbidity(1, 2) + ".", 163, UNTOUCHED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    optics.device.Script("$t", c.answer);
    double dValue = UNTOUCHED;
    EXPECT_EQ(optics.detectors.GetTurbidity(&dValue), c.dwResult);
    EXPECT_DOUBLE_EQ(dValue, c.dValue);
  }
}

TEST(Detectors, ReadingsForNobodyAndFailedWrites) {
  const struct {
    const char* command;
    std::string answer;
    DWORD (*run)(Detectors&);
    DWORD dwResult;
  } cases[] = {
      {"$a3", Readings(3, 6, 3), [](Detectors& d) { return d.GetADValue(nullptr, nullptr); }, 135},
      {"$s5000", Readings(5, 9, 2) + "ok\r", [](Detectors& d) { return d.Scan(4999, nullptr, nullptr, 2); }, 155},
      {"$t", Turbidity(1, 2), [](Detectors& d) { return d.GetTurbidity(nullptr); }, 165},
  };
  for (const auto& c : cases) {
    Optics optics;
    optics.device.Script(c.command, c.answer);
    EXPECT_EQ(c.run(optics.detectors), 0U);
    optics.world.ports.writes.Start(1);
    EXPECT_EQ(c.run(optics.detectors), c.dwResult);
    EXPECT_EQ(optics.device.Commands(), std::vector<std::string>{c.command});
  }
}

}  // namespace
}  // namespace photometer::tests
