#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/OpticalExchange.h"
#include "optics/OpticalLink.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Commands = std::vector<std::string>;

const std::string READING = Readings(3, 6, 3);

/// The line works: a setting and a data command are answered as they should, and nothing that comes before their
/// answers is taken for them.
void ExpectLineInOrder(Optics& optics) {
  optics.device.ForgetScripts();
  optics.device.Script("$g1", Answer{{250'000, "error\r\n"}});
  optics.device.Script("$a3", Answer{{250'000, READING}});
  EXPECT_EQ(optics.unit.SetGain(TRUE), 34U);
  double dReference = 0.0;
  EXPECT_EQ(optics.detectors.GetADValue(nullptr, &dReference), 0U);
  EXPECT_EQ(dReference, 6.0);
}

// ---- opening ----

TEST(OpticalLink, SetsThePortUp) {
  Optics optics;
  DCB state{};
  const HANDLE hSecond = CreateFileW(World::PORT);
  EXPECT_EQ(hSecond, INVALID_HANDLE_VALUE);
  optics.Stop();
  const HANDLE hPort = CreateFileW(World::PORT);
  EXPECT_NE(hPort, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(GetCommState(hPort, &state));
  CloseHandle(hPort);
}

TEST(OpticalLink, FailedOpeningLeavesNothingAndCanBeRepeated) {
  struct {
    const char* what;
    void (*fault)(World&);
  } const cases[] = {
      {"no port", [](World& w) { w.board.UnplugPort(World::PORT); }},
      {"refused", [](World& w) { w.ports.opens.Start(1); }},
      {"state not read", [](World& w) { w.ports.settings.Start(1); }},
      {"state not written", [](World& w) { w.ports.settings.Start(2); }},
      {"mask", [](World& w) { w.ports.settings.Start(3); }},
      {"time-outs", [](World& w) { w.ports.settings.Start(4); }},
      {"thread", [](World& w) { w.kernel.threads.Start(1); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    Sleep(10);
    optics.link.CloseOpticalPort();
    Sleep(300);
    c.fault(optics.world);
    EXPECT_FALSE(optics.link.OpenOpticalPort());
    EXPECT_EQ(optics.unit.SetFilter(1), 5U);
    EXPECT_EQ(optics.detectors.GetADValue(nullptr, nullptr), 135U);
    optics.world.Plug();
    EXPECT_TRUE(optics.link.OpenOpticalPort());
    EXPECT_EQ(optics.unit.SetFilter(1), 0U);
  }
}

// ---- the reader ----

TEST(OpticalLink, BytesThatComeWhileNothingRunsAreDropped) {
  Optics optics;
  optics.state.Lock()->m_Status.bBusy = FALSE;
  optics.device.Emit(0, "error");
  Sleep(100);
  optics.state.Lock()->m_Status.bBusy = TRUE;
  std::string received;
  optics.buffer.CollectReceived(received);
  EXPECT_EQ(received, "");
  // The event was signalled all the same, and does not end the next wait.
  EXPECT_EQ(WaitForSingleObject(optics.buffer.DataEvent(), 0), WAIT_OBJECT_0);
  optics.buffer.Signal();
  optics.device.Script("$F1", Answer{{SECOND, "ok"}});
  EXPECT_EQ(optics.unit.SetFilter(1), 0U);
}

TEST(OpticalLink, VanishedPort) {
  Optics optics;
  optics.device.Script("$F1", Answer{});
  WorkerThreads helpers(optics.state);
  EXPECT_TRUE(helpers.Start("unplug", [&optics] {
    Sleep(1000);
    optics.world.board.UnplugPort(World::PORT);
  }));
  EXPECT_EQ(optics.unit.SetFilter(1), 2U);
  EXPECT_EQ(optics.unit.SetFilter(1), 5U);
  EXPECT_TRUE(helpers.WaitUntilEnded(1000));
  optics.world.Plug();
  EXPECT_EQ(optics.unit.SetFilter(1), 5U);
  EXPECT_TRUE(optics.link.OpenOpticalPort());
  EXPECT_EQ(optics.unit.SetFilter(2), 0U);
}

TEST(OpticalLink, IdleLineCostsAHandfulOfWakeUps) {
  Optics optics;
  const std::uint64_t nSwitches = optics.world.board.Switches();
  Sleep(10'000);
  EXPECT_LT(optics.world.board.Switches() - nSwitches, 250U);
}

// ---- late answers ----

TEST(OpticalLink, LineEndBehindAnAnswerIsNotData) {
  for (const bool bAtOnce : {true, false}) {
    for (const simulator::Time delay :
         {simulator::Time{0}, simulator::Time{87}, simulator::Time{900}, simulator::Time{1200}}) {
      SCOPED_TRACE(std::to_string(delay) + (bAtOnce ? " µs, at once" : " µs"));
      Optics optics(bAtOnce);
      optics.device.Script("$g1", Answer{{300, "ok"}, {delay, "\r"}, {delay, "\n"}});
      optics.device.Script("$a3", READING);
      EXPECT_EQ(optics.unit.SetGain(TRUE), 0U);
      EXPECT_EQ(optics.detectors.GetADValue(nullptr, nullptr), 0U);
      EXPECT_EQ(optics.device.Commands(), (Commands{"$g1", "$a3"}));
    }
  }
}

TEST(OpticalLink, RawWriteWaitsForTheExchange) {
  Optics optics;
  optics.device.Script("$F1", Answer{{SECOND, "ok\r\n"}});
  optics.device.Script("$d0", Answer{{250'000, "ok\r\n"}});
  EXPECT_TRUE(optics.threads.Start("exchange", [&optics] { EXPECT_EQ(optics.unit.SetFilter(1), 0U); }));
  Sleep(100);
  EXPECT_TRUE(optics.link.WriteBetweenExchanges("$d0\r"));
  EXPECT_TRUE(optics.link.WriteBetweenExchanges("$f0\r"));
  Sleep(10);
  EXPECT_EQ(optics.device.Commands(), Commands{"$F1"});
  Sleep(900);
  ExpectLineInOrder(optics);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$F1", "$d0", "$f0", "$g1", "$a3"}));
}

TEST(OpticalLink, RawWriteBetweenExchangesGoesOutAtOnce) {
  Optics optics;
  EXPECT_TRUE(optics.link.WriteBetweenExchanges("$d0\r"));
  Sleep(1);
  EXPECT_EQ(optics.device.Commands(), Commands{"$d0"});
  optics.world.ports.writes.Start(1);
  EXPECT_FALSE(optics.link.WriteBetweenExchanges("$f0\r"));
}

TEST(OpticalLink, ExchangesOfTwoThreadsTakeTurns) {
  Optics optics;
  optics.device.Script("$F1", Answer{{SECOND, "ok\r\n"}});
  EXPECT_TRUE(optics.threads.Start("first", [&optics] { EXPECT_EQ(optics.unit.SetFilter(1), 0U); }));
  Sleep(100);
  ExpectLineInOrder(optics);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$F1", "$g1", "$a3"}));
}

TEST(OpticalLink, LateAnswersAreNotTakenForTheNext) {
  const std::string point = Readings(5, 9, 1);
  struct {
    const char* what;
    void (*before)(Optics&);
  } const cases[] = {
      {"given up after silence",
       [](Optics& o) {
         o.device.Script("$F1", Answer{{60'050'000, "ok\r\n"}});
         EXPECT_EQ(o.unit.SetFilter(1), 2U);
       }},
      {"reading given up after silence",
       [](Optics& o) {
         o.device.Script("$t", Answer{{300, "t"}, {60'050'000, std::string(95, 't')}});
         EXPECT_EQ(o.detectors.GetTurbidity(nullptr), 162U);
       }},
      {"too long, with more to come",
       [](Optics& o) {
         o.device.Script("$F1", Answer{{300, std::string(40, 'x')}, {50'000, "ok"}, {50'000, "ok"}});
         EXPECT_EQ(o.unit.SetFilter(1), 3U);
       }},
      {"rest of a stream",
       [](Optics& o) {
         Answer stream{{300, "error"}};
         for (int i = 0; i < 100; ++i) {
           stream.push_back({50'000, Readings(5, 9, 1)});
         }
         o.device.Script("$s5000", stream);
         EXPECT_EQ(o.detectors.Scan(4999, nullptr, nullptr, 100), 154U);
       }},
      {"switched off, with the mirror turning",
       [](Optics& o) {
         o.device.Script("$r0", Answer{{200'000, "ok\r\n"}});
         o.device.Script("$d0", Answer{{202'000, "ok\r\n"}});
         o.device.Script("$h0", Answer{{204'000, "ok\r\n"}});
         o.device.Script("$f0", Answer{{206'000, "ok\r\n"}});
         o.link.SwitchOff();
         Sleep(5);
       }},
      {"unasked bytes",
       [](Optics& o) {
         o.device.Emit(0, "ok\r\n");
         Sleep(5);
       }},
  };
  for (const bool bAtOnce : {true, false}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.what);
      Optics optics(bAtOnce);
      c.before(optics);
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
      {"$z", SECOND, SECOND},          {"$z", 5 * SECOND, 5 * SECOND},        {"$z", NEVER, 60 * SECOND},
      {"$M12000", SECOND, SECOND},     {"$M12000", 48 * SECOND, 48 * SECOND}, {"$d1", SECOND, SECOND},
      {"$d1", 5 * SECOND, 5 * SECOND}, {"$d1", NEVER, 10 * SECOND},           {"$r0", SECOND, SECOND},
      {"$r0", 5 * SECOND, 5 * SECOND}, {"$r0", NEVER, 10 * SECOND},           {"hello", NEVER, 0},
      {"$a3", SECOND, SECOND},         {"$s3000", 5 * SECOND, 5 * SECOND},
  };
  for (const bool bIdle : {true, false}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.command) + (bIdle ? " while nothing runs, " : ", ") + std::to_string(c.delay));
      Optics optics;
      optics.state.Lock()->m_Status.bBusy = bIdle ? FALSE : TRUE;
      const std::string bytes = c.command[1] == 'a' ? READING : "ok\r\n";
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

TEST(OpticalLink, LateEndOfAStreamIsNotTakenForTheNext) {
  struct {
    const char* what;
    Answer end;
    simulator::Time longest;
  } const cases[] = {
      {"with the last point", {{0, "ok\r"}}, 0},
      {"3 s later", {{3 * SECOND, "ok\r"}}, 3 * SECOND},
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

// ---- the error reaction ----

TEST(OpticalLink, ErrorReaction) {
  Optics optics;
  for (std::size_t n = 0; n < CACHE_ENTRIES; ++n) {
    optics.Cache(static_cast<CacheEntry>(n), 4);
  }
  optics.link.HandleInstrumentError(42);
  Sleep(10);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$r0", "$d0", "$h0", "$f0"}));
  EXPECT_EQ(optics.world.sink.Calls(), Commands{"OnError(0, 42)"});
  for (std::size_t n = 0; n < CACHE_ENTRIES; ++n) {
    const auto entry = static_cast<CacheEntry>(n);
    const bool bKept = entry == CacheEntry::MonochromatorPosition || entry == CacheEntry::TurbidityPower ||
                       entry == CacheEntry::TurbidityGain;
    EXPECT_EQ(optics.Cached(entry), bKept ? 4 : UNKNOWN) << n;
  }
  optics.Cache(CacheEntry::Filter, UNKNOWN);
  EXPECT_EQ(optics.unit.SetFilter(4), 0U);
}

// ---- stopping ----

TEST(OpticalLink, StopEndsEveryWait) {
  struct {
    const char* what;
    void (*run)(Optics&);
  } const cases[] = {
      {"silence", [](Optics& o) { EXPECT_EQ(o.unit.SetFilter(1), 2U); }},
      {"version", [](Optics& o) { EXPECT_EQ(o.unit.ReadFirmwareVersion(), 202U); }},
      {"reading", [](Optics& o) { EXPECT_EQ(o.detectors.GetADValue(nullptr, nullptr), 132U); }},
      {"scan", [](Optics& o) { EXPECT_EQ(o.detectors.Scan(10, nullptr, nullptr, 10), 152U); }},
      {"owed answer",
       [](Optics& o) {
         EXPECT_TRUE(o.link.WriteBetweenExchanges("$z\r"));
         EXPECT_EQ(o.unit.SetFilter(2), 5U);
       }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    for (const char* command : {"$F1", "$v", "$a3", "$s11", "$z"}) {
      optics.device.Script(command, Answer{});
    }
    std::uint64_t nEnd = 0;
    EXPECT_TRUE(optics.threads.Start("run", [&] {
      c.run(optics);
      nEnd = optics.world.board.Now();
    }));
    Sleep(5000);
    const std::uint64_t nStop = optics.world.board.Now();
    optics.Stop();
    EXPECT_LE(nEnd - nStop, 10'000U);
    EXPECT_EQ(optics.unit.SetFilter(1), 5U);
  }
}

// ---- floods ----

constexpr std::uint64_t GARBAGE = 100'000'000;
constexpr std::size_t MEBIBYTE = std::size_t{1024} * 1024;
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t MEMORY_GROWTH_LIMIT = 320 * MEBIBYTE;  // the sanitizer holds freed memory back
#else
constexpr std::size_t MEMORY_GROWTH_LIMIT = 32 * MEBIBYTE;
#endif

std::size_t ResidentBytes() {
  std::size_t nTotal = 0;
  std::size_t nResident = 0;
  std::ifstream("/proc/self/statm") >> nTotal >> nResident;
  return nResident * 4096;
}

TEST(OpticalLink, FloodDoesNotGrow) {
  for (const BOOL bBusy : {TRUE, FALSE}) {
    SCOPED_TRACE(bBusy ? "busy" : "idle");
    Optics optics;
    optics.world.StopTracing();
    optics.state.Lock()->m_Status.bBusy = bBusy;
    const std::size_t nBefore = ResidentBytes();
    optics.device.Flood(GARBAGE);
    while (optics.device.IsFlooding()) {
      Sleep(1000);
    }
    Sleep(1000);
    EXPECT_LT(ResidentBytes(), nBefore + MEMORY_GROWTH_LIMIT);
    EXPECT_EQ(optics.world.board.DroppedBytes(World::PORT), 0U);
    EXPECT_EQ(optics.world.LogLines("Receive buffer of the optical port full"), bBusy ? 1U : 0U);
    optics.state.Lock()->m_Status.bBusy = TRUE;
    ExpectLineInOrder(optics);
  }
}

TEST(OpticalLink, NewestBytesOfAFloodAreKept) {
  Optics optics;
  optics.world.StopTracing();
  optics.device.Flood(ReceiveBuffer::CAPACITY * 3);
  Sleep(100);
  optics.device.Emit(0, "the end");
  Sleep(100);
  std::string received;
  optics.buffer.CollectReceived(received);
  EXPECT_LE(received.size(), ReceiveBuffer::CAPACITY);
  EXPECT_TRUE(received.ends_with("the end"));
}

TEST(OpticalLink, FloodDuringAnExchange) {
  struct {
    const char* what;
    DWORD (*run)(Optics&);
    DWORD dwResult;
  } const cases[] = {
      {"setting", [](Optics& o) { return o.unit.SetFilter(1); }, 3},
      {"reading", [](Optics& o) { return o.detectors.GetADValue(nullptr, nullptr); }, 133},
      {"turbidity", [](Optics& o) { return o.detectors.GetTurbidity(nullptr); }, 163},
      {"scan", [](Optics& o) { return o.detectors.Scan(10, nullptr, nullptr, 10); }, 153},
      {"version", [](Optics& o) { return o.unit.ReadFirmwareVersion(); }, 202},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    optics.world.StopTracing();
    for (const char* command : {"$F1", "$v", "$a3", "$t", "$s11"}) {
      optics.device.Script(command, Answer{{100'000, "g"}});
    }
    EXPECT_TRUE(optics.threads.Start("garbage", [&optics] {
      Sleep(150);
      optics.device.Flood(GARBAGE / 25);
    }));
    EXPECT_EQ(c.run(optics), c.dwResult);
    while (optics.device.IsFlooding()) {
      Sleep(100);
    }
    ExpectLineInOrder(optics);
  }
}

}  // namespace
}  // namespace photometer::tests
