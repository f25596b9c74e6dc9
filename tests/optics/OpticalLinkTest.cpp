#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/OpticalLink.h"
#include "platform/Platform.h"
#include "support/Optics.h"
#include "support/UsedMemory.h"

namespace photometer::tests {
namespace {

using Commands = std::vector<std::string>;

// ---- late answers ----

TEST(OpticalLink, ExchangesAndRawWritesTakeTurns) {
  Optics optics;
  EXPECT_TRUE(optics.link.WriteBetweenExchanges("$h0\r"));
  Sleep(1);
  EXPECT_EQ(optics.device.Commands(), Commands{"$h0"}) << "at once, while nothing runs";
  optics.device.Script("$F1", Answer{{SECOND, "ok\r\n"}});
  optics.device.Script("$d0", Answer{{250'000, "ok\r\n"}});
  EXPECT_TRUE(optics.threads.Start("exchange", [&optics] { EXPECT_EQ(optics.unit.SetFilter(1), 0U); }));
  Sleep(200);
  EXPECT_TRUE(optics.link.WriteBetweenExchanges("$d0\r"));
  EXPECT_TRUE(optics.link.WriteBetweenExchanges("$f0\r"));
  Sleep(10);
  EXPECT_EQ(optics.device.Commands().back(), "$F1");
  Sleep(1000);
  optics.link.Enqueue("$r0\r");  // what waits goes out first
  ExpectLineInOrder(optics);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$h0", "$F1", "$d0", "$f0", "$r0", "$g1", "$a3"}));
  optics.world.ports.writes.Start(1);
  EXPECT_FALSE(optics.link.WriteBetweenExchanges("$f0\r"));
}

TEST(OpticalLink, LineEndBehindAnAnswerIsNotData) {
  for (const bool bAtOnce : {true, false}) {
    // The last as if the reader were held up for so long: the unit is known to send line ends.
    for (const simulator::Time delay : {0U, 87U, 900U, 1200U, 40'000U}) {
      SCOPED_TRACE(std::to_string(delay) + (bAtOnce ? " µs, at once" : " µs"));
      Optics optics(bAtOnce);
      optics.device.Script("$g1", Answer{{300, "ok"}, {delay, "\r"}, {delay, "\n"}});
      optics.device.Script("$a3", Readings(3, 6, 3));
      EXPECT_EQ(optics.unit.SetFilter(1), 0U);
      EXPECT_EQ(optics.unit.SetGain(TRUE), 0U);
      EXPECT_EQ(optics.detectors.GetADValue(nullptr, nullptr), 0U);
      EXPECT_EQ(optics.device.Commands(), (Commands{"$F1", "$g1", "$a3"}));
    }
  }
}

TEST(OpticalLink, LineEndsOfAnotherUnitAreNotWaitedFor) {
  Optics optics;
  EXPECT_EQ(optics.unit.SetFilter(1), 0U);
  optics.link.CloseOpticalPort();
  Sleep(SECOND / 1000);
  EXPECT_TRUE(optics.link.OpenOpticalPort());
  optics.device.Script("$g1", "ok");
  optics.device.Script("$a3", Readings(3, 6, 3));
  EXPECT_EQ(optics.unit.SetGain(TRUE), 0U);
  const std::uint64_t nStart = optics.world.board.Now();
  EXPECT_EQ(optics.detectors.GetADValue(nullptr, nullptr), 0U);
  EXPECT_LT(optics.world.board.Now() - nStart, 50'000U);
}

DWORD SwitchOff(Optics& optics) {
  optics.link.SwitchOff();
  Sleep(5);
  return 0;
}

TEST(OpticalLink, LateAnswersAreNotTakenForTheNext) {
  const auto setFilter = [](Optics& o) { return o.unit.SetFilter(1); };
  const auto scan = [](Optics& o) { return o.detectors.Scan(4999, nullptr, nullptr, 100); };
  const auto turbidity = [](Optics& o) { return o.detectors.GetTurbidity(nullptr); };
  Answer restOfAStream{{300, "error"}};
  restOfAStream.insert(restOfAStream.end(), 100, {50'000, Readings(5, 9, 1)});
  const struct {
    const char* what;
    const char* command;
    Answer answer;
    DWORD (*run)(Optics&);
    DWORD dwResult;
  } cases[] = {
      {"given up after silence", "$F1", {{60'050'000, "ok\r\n"}}, setFilter, 2},
      {"reading given up", "$t", {{300, "t"}, {60'050'000, std::string(95, 't')}}, turbidity, 162},
      {"too long, with more", "$F1", {{300, std::string(40, 'x')}, {50'000, "ok"}, {50'000, "ok"}}, setFilter, 3},
      {"rest of a stream", "$s5000", restOfAStream, scan, 154},
      {"switched off, with the mirror turning", "$r0", {{200'000, "ok\r\n"}}, SwitchOff, 0},
  };
  for (const bool bAtOnce : {true, false}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.what);
      Optics optics(bAtOnce);
      optics.device.Script(c.command, c.answer);
      for (const char* command : {"$d0", "$h0", "$f0"}) {
        optics.device.Script(command, Answer{{205'000, "ok\r\n"}});  // behind the mirror's
      }
      optics.device.Emit(0, "ok\r\n");  // unasked
      Sleep(5);
      EXPECT_EQ(c.run(optics), c.dwResult);
      ExpectLineInOrder(optics);
    }
  }
}

TEST(OpticalLink, LateAnswersOfRawWritesAreNotTakenForTheNext) {
  constexpr simulator::Time NEVER = 0;
  struct {
    const char* command;
    simulator::Time delay;
    simulator::Time longest;
  } const cases[] = {
      {"$z", 5 * SECOND, 5 * SECOND},        {"$z", NEVER, 60 * SECOND}, {"$M12000", SECOND, SECOND},
      {"$M12000", 48 * SECOND, 48 * SECOND}, {"$d1", SECOND, SECOND},    {"$d1", NEVER, 10 * SECOND},
      {"$r0", 5 * SECOND, 5 * SECOND},       {"hello", NEVER, 0},        {"$a3", SECOND, SECOND},
      {"$s3000", 5 * SECOND, 5 * SECOND},
  };
  for (const bool bIdle : {true, false}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.command) + (bIdle ? " while nothing runs, " : ", ") + std::to_string(c.delay));
      Optics optics;
      optics.state.Lock()->m_Status.bBusy = bIdle ? FALSE : TRUE;
      const std::string bytes = c.command[1] == 'a' ? Readings(3, 6, 3) : "ok\r\n";
      optics.device.Script(c.command, c.delay == NEVER ? Answer{} : Answer{{c.delay, bytes}});
      EXPECT_TRUE(optics.link.WriteBetweenExchanges(std::string(c.command) + "\r"));
      if (bIdle) {
        Sleep(1500);  // some of the answers come before the device is busy
        optics.state.Lock()->m_Status.bBusy = TRUE;
      }
      // An answer that were taken for the next one's would come before it.
      optics.device.Script("$g1", Answer{{c.delay + SECOND, "error\r\n"}});
      const std::uint64_t nStart = optics.world.board.Now();
      const std::uint64_t nPassed = bIdle ? 1'500'000 : 0;
      EXPECT_EQ(optics.unit.SetGain(TRUE), 34U);
      const std::uint64_t nLongest = (c.longest > nPassed ? c.longest - nPassed : 0) + c.delay + SECOND;
      EXPECT_LE(optics.world.board.Now() - nStart, nLongest + 150'000);
      ExpectLineInOrder(optics);
    }
  }
}

TEST(OpticalLink, ALineThatIsNeverQuietDoesNotStopTheNextCommand) {
  Optics optics;
  for (simulator::Time at = 0; at < 30 * SECOND; at += 20'000) {
    optics.device.Emit(at, "x");
  }
  optics.link.WriteOpticalRaw("$d0\r");
  const std::uint64_t nStart = optics.world.board.Now();
  EXPECT_EQ(optics.unit.SetGain(TRUE), 0U);
  EXPECT_LE(optics.world.board.Now() - nStart, 3 * SECOND);
}

// ---- errors and floods ----

TEST(OpticalLink, ErrorReaction) {
  Optics optics;
  optics.Cache(CacheEntry::Filter, 4);
  optics.Cache(CacheEntry::MonochromatorPosition, 4);
  optics.state.Lock()->m_dwUVSession = 1;
  optics.link.HandleInstrumentError(42);
  Sleep(10);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$r0", "$d0", "$h0", "$f0"}));
  EXPECT_EQ(optics.world.sink.Calls(), Commands{"OnError(0, 42)"});
  EXPECT_EQ(optics.Cached(CacheEntry::Filter), UNKNOWN);
  EXPECT_EQ(optics.Cached(CacheEntry::MonochromatorPosition), 4);
  EXPECT_EQ(optics.state.Lock()->m_dwUVSession, 0U);
}

TEST(OpticalLink, FloodDoesNotGrow) {
  for (const BOOL bBusy : {TRUE, FALSE}) {
    SCOPED_TRACE(bBusy ? "busy" : "idle");
    Optics optics;
    optics.world.StopTracing();
    optics.state.Lock()->m_Status.bBusy = bBusy;
    const std::size_t nBefore = UsedBytes();
    optics.device.Flood(100'000'000);
    while (optics.device.IsFlooding()) {
      Sleep(1000);
    }
    Sleep(1000);
    EXPECT_LT(UsedBytes(), nBefore + MEMORY_GROWTH_LIMIT);
    EXPECT_EQ(optics.world.board.DroppedBytes(World::PORT), 0U);
    EXPECT_EQ(optics.world.LogLines("Receive buffer of the optical port full"), bBusy ? 1U : 0U);
    std::string received;
    optics.buffer.CollectReceived(received);
    EXPECT_EQ(received.empty(), !bBusy) << "what comes while nothing runs is dropped";
    // The event was signalled all the same, and does not end the next wait.
    EXPECT_EQ(WaitForSingleObject(optics.buffer.DataEvent(), 0), WAIT_OBJECT_0);
    optics.buffer.Signal();
    optics.state.Lock()->m_Status.bBusy = TRUE;
    ExpectLineInOrder(optics);
  }
}

}  // namespace
}  // namespace photometer::tests
