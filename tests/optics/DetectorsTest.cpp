#include <string>

#include <gtest/gtest.h>

#include "optics/Detectors.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

// What the bytes of an answer come to, the corpus of the fuzz target shows.

TEST(Detectors, Scan) {
  const std::string points = Readings(5, 9, 10);
  struct {
    const char* what;
    Answer answer;
    DWORD dwResult;
  } const cases[] = {
      {"the end comes later", {{300, points}, {50'000, "o"}, {50'000, "k\r"}}, 0},
      {"66 bytes", {{300, points + "......"}}, 153},
      {"error in two pieces behind some points", {{300, points.substr(0, 13) + "err"}, {5000, "or"}}, 154},
      {"error before too much", {{300, points + "error......"}}, 154},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    optics.Cache(CacheEntry::MonochromatorPosition, 4990);
    optics.device.Script("$s5000", c.answer);
    EXPECT_EQ(optics.detectors.Scan(4999, nullptr, nullptr, 10), c.dwResult);
    EXPECT_EQ(optics.Cached(CacheEntry::MonochromatorPosition), c.dwResult == 0 ? 5000 : UNKNOWN);
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
      {"$t", Readings(1, 2, 16), [](Detectors& d) { return d.GetTurbidity(nullptr); }, 165},
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
