#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/OpticalExchange.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

TEST(OpticalExchange, LateEndOfAStreamIsNotTakenForTheNext) {
  struct {
    const char* what;
    Answer end;
    simulator::Time longest;
  } const cases[] = {
      {"9 s later", {{9 * SECOND, "ok\r"}}, 9 * SECOND},
      {"in pieces", {{SECOND, "o"}, {3 * SECOND, "k"}, {SECOND, "\r"}}, 5 * SECOND},
      {"never", {}, 12 * SECOND},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    Answer answer{{ANSWER_TIME, Readings(5, 9, 2)}};
    answer.insert(answer.end(), c.end.begin(), c.end.end());
    optics.device.Script("$s3000", answer);
    optics.device.Script("$g1", Answer{{10 * SECOND, "error\r\n"}});
    const std::uint64_t nStart = optics.world.board.Now();
    {
      OpticalExchange exchange(optics.link, ExchangeKind::Data);
      EXPECT_TRUE(exchange.Send("$s3000\r"));
      PointStream stream(2);
      std::vector<Reading> points;
      while (stream.Received() < 2) {
        std::string bytes;
        ASSERT_EQ(exchange.Receive(bytes), OpticalExchange::Arrival::Data);
        EXPECT_NE(exchange.TakePoints(bytes, stream, &points), PointStream::Verdict::Error);
      }
      EXPECT_LE(optics.world.board.Now() - nStart, 3'100'000U) << "nobody waits for long";
    }
    EXPECT_EQ(optics.unit.SetGain(TRUE), 34U);
    EXPECT_LE(optics.world.board.Now() - nStart, c.longest + 10 * SECOND + 300'000);
    ExpectLineInOrder(optics);
  }
}

TEST(OpticalExchange, FloodEndsItAndIsForgotten) {
  const struct {
    const char* command;
    DWORD (*run)(Optics&);
    DWORD dwResult;
  } cases[] = {
      {"$F1", [](Optics& o) { return o.unit.SetFilter(1); }, 3},
      {"$v", [](Optics& o) { return o.unit.ReadFirmwareVersion(); }, 202},
      {"$a3", [](Optics& o) { return o.detectors.GetADValue(nullptr, nullptr); }, 133},
      {"$t", [](Optics& o) { return o.detectors.GetTurbidity(nullptr); }, 163},
      {"$s11", [](Optics& o) { return o.detectors.Scan(10, nullptr, nullptr, 10); }, 153},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    Optics optics;
    optics.world.StopTracing();
    optics.device.Script(c.command, Answer{{100'000, "g"}});
    EXPECT_TRUE(optics.threads.Start("garbage", [&optics] { Sleep(150), optics.device.Flood(4'000'000); }));
    EXPECT_EQ(c.run(optics), c.dwResult);
    while (optics.device.IsFlooding()) {
      Sleep(100);
    }
    ExpectLineInOrder(optics);
  }
}

}  // namespace
}  // namespace photometer::tests
