#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/ReaderPort.h"
#include "support/ScriptedUnit.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

constexpr LineSettings SETTINGS{19200, 8, NOPARITY};

/// Reads that fail, so many from now on.
class FailingReads final : public ForwardingSerialPorts {
 public:
  using ForwardingSerialPorts::ForwardingSerialPorts;
  std::atomic<int> iFailing{0};

  bool Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) override {
    if (iFailing > 0) {
      --iFailing;
      return false;
    }
    return ForwardingSerialPorts::Read(handle, pBuffer, dwBytes, pBytesRead);
  }
};

/// A port with a reader that notes what it hears, and when.
class Bench {
 public:
  Bench() {
    m_Board.Replace(reads);
    SetBoard(&m_Board);
    EXPECT_TRUE(state.CreateEvents());
  }
  ~Bench() {
    state.RaiseStop();
    EXPECT_TRUE(threads.WaitUntilEnded(3000));
    port.Close();
    state.CloseEvents();
    SetBoard(&world.tracing);
    world.ExpectClean();
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  BOOL Open(const std::function<void()>& onBlock = [] {}) {
    PortReader reader{.name = "reader", .onBlock = nullptr, .onEnd = nullptr};
    reader.onBlock = [this, onBlock](std::string_view bytes) {
      Note(std::string(bytes));
      nHeard = world.board.Now();
      onBlock();
    };
    reader.onLost = [this] { Note("lost"); };
    reader.onEnd = [this](bool bLost) { Note(bLost ? "end, lost" : "end"); };
    return port.Open(SETTINGS, std::move(reader));
  }
  std::vector<std::string> Calls() {
    const auto guarded = state.Lock();
    return m_Calls;
  }

  ScriptedUnit device;
  World world{{{}, {}, &device, true}};
  FailingReads reads{world.tracing.GetSerialPorts()};

 private:
  void Note(const std::string& call) {
    const auto guarded = state.Lock();
    m_Calls.push_back(call);
  }

  ForwardingBoard m_Board{world.tracing};

 public:
  DeviceState state;
  WorkerThreads threads{state};
  ReaderPort port{state, threads, World::PORT};
  std::atomic<std::uint64_t> nHeard = 0;

 private:
  /// Guarded by the state lock.
  std::vector<std::string> m_Calls;
};

TEST(ReaderPort, FailedOpeningLeavesNothingAndCanBeRepeated) {
  const struct {
    const char* what;
    void (*fault)(World&);
  } cases[] = {
      {"no port", [](World& w) { w.board.UnplugPort(World::PORT); }},
      {"state not read", [](World& w) { w.ports.settings.Start(1); }},
      {"state not written", [](World& w) { w.ports.settings.Start(2); }},
      {"mask", [](World& w) { w.ports.settings.Start(3); }},
      {"time-outs", [](World& w) { w.ports.settings.Start(4); }},
      {"thread", [](World& w) { w.kernel.threads.Start(1); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bench bench;
    c.fault(bench.world);
    EXPECT_FALSE(bench.Open());
    EXPECT_TRUE(bench.port.IsLost());
    EXPECT_EQ(bench.port.Write("text"), PortWrite::Failed);
    bench.world.Plug();
    EXPECT_TRUE(bench.Open());
    EXPECT_EQ(bench.port.Write("text"), PortWrite::Written);
  }
}

TEST(ReaderPort, IdleLineCostsAHandfulOfWakeUps) {
  Bench bench;
  ASSERT_TRUE(bench.Open());
  const std::uint64_t nSwitches = bench.world.board.Switches();
  Sleep(10'000);
  EXPECT_LT(bench.world.board.Switches() - nSwitches, 250U);
}

TEST(ReaderPort, FailedReadsAreRepeatedAfterAPause) {
  Bench bench;
  bench.reads.iFailing = 2;
  const std::uint64_t nStart = bench.world.board.Now();
  ASSERT_TRUE(bench.Open());
  bench.device.Emit(0, "bytes");
  Sleep(1000);
  EXPECT_EQ((bench.nHeard - nStart) / 100'000, 2U);
  bench.reads.iFailing = 2;  // those before do not count any more
  Sleep(1000);
  EXPECT_FALSE(bench.port.IsLost());
  bench.reads.iFailing = 3;
  Sleep(1000);
  EXPECT_EQ(bench.Calls(), (std::vector<std::string>{"bytes", "lost", "end, lost"}));
  EXPECT_TRUE(bench.port.IsLost());
}

TEST(ReaderPort, HandleStaysOpenWhileAWriteUsesIt) {
  Bench bench;
  ASSERT_TRUE(bench.Open());
  bench.world.ports.beforeWrite = [](std::string_view) { Sleep(50); };
  std::atomic<PortWrite> result = PortWrite::Failed;
  ASSERT_TRUE(bench.threads.Start("writer", [&] { result = bench.port.Write("text"); }));
  Sleep(1);
  const std::uint64_t nStart = bench.world.board.Now();
  bench.port.Close();
  EXPECT_LE(bench.world.board.Now() - nStart, 55'000U);
  EXPECT_EQ(bench.port.Write("more"), PortWrite::Closed);
  EXPECT_EQ(result, PortWrite::Written);
}

TEST(ReaderPort, WriteThatIsBrokenOffByClosingFindsThePortOpenAnew) {
  Bench bench;
  ASSERT_TRUE(bench.Open());
  bench.world.ports.beforeWrite = [](std::string_view) { Sleep(200); };
  bench.world.ports.writes.Start(1);
  std::atomic<PortWrite> result = PortWrite::Written;
  ASSERT_TRUE(bench.threads.Start("writer", [&] { result = bench.port.Write("text"); }));
  Sleep(1);
  bench.port.Close();
  ASSERT_TRUE(bench.Open());
  Sleep(200);
  EXPECT_EQ(result, PortWrite::Closed);
}

TEST(ReaderPort, BlockThatOutlastsThePort) {
  Bench bench;
  ASSERT_TRUE(bench.Open([] { Sleep(1000); }));
  bench.device.Emit(0, "bytes");
  Sleep(10);
  bench.state.RaiseStop();
  bench.port.Close();
  Sleep(1500);
  EXPECT_EQ(bench.Calls(), (std::vector<std::string>{"bytes", "end"}));
}

}  // namespace
}  // namespace photometer::tests
