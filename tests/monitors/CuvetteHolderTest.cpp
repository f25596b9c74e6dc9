#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "monitors/CuvetteHolder.h"
#include "platform/Platform.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

constexpr DWORD UNREADABLE = simulator::CuvetteHolder::Unreadable;
/// Longer than five polls.
constexpr DWORD LONG_ENOUGH = 150;

/// The holder with its reader on a board, without a device.
class Reader {
 public:
  explicit Reader(bool bUV = true, simulator::CuvetteHolderSettings switches = {}) {
    switches.bUV = bUV;
    world.holder = simulator::CuvetteHolder(switches);
    state.Lock()->m_Params.bUV = bUV ? TRUE : FALSE;
    sink.SetSink(&world.sink);
    EXPECT_TRUE(holder.OpenCuvetteGpio());
    EXPECT_TRUE(state.CreateEvents());
  }
  ~Reader() {
    state.RaiseStop();
    ExpectEnded();
    CloseHandle(m_hThread);
    state.CloseEvents();
    holder.CloseCuvetteGpio();
    world.ExpectClean();
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  void Start() {
    m_hThread = CreateThread([this] { holder.CuvetteReader(); }, "CuvetteReader", nullptr);
  }
  /// The thread ends before the next poll is due.
  void ExpectEnded() { EXPECT_EQ(WaitForSingleObject(m_hThread, 10), WAIT_OBJECT_0); }
  void Insert(int iSize) { world.holder.Insert(iSize, world.board.Now()); }
  /// Sizes that the host was told: "10 0".
  [[nodiscard]] std::string Told() const {
    std::string sizes;
    for (const std::string& call : world.sink.Calls()) {
      sizes += (sizes.empty() ? "" : " ") + call.substr(std::string("OnCuvetteChanged(").size());
      sizes.pop_back();
    }
    return sizes;
  }

  World world;
  DeviceState state;
  HostSink sink;
  CuvetteHolder holder{state, sink};

 private:
  HANDLE m_hThread = 0;
};

TEST(CuvetteHolder, APinThatCannotBeReadMakesThePatternAnUnknownOne) {
  EXPECT_EQ(DecodeCuvetteState(UNREADABLE, 0, 0, TRUE), -1);
  EXPECT_EQ(DecodeCuvetteState(0, UNREADABLE, 1, FALSE), -1);
  EXPECT_EQ(DecodeCuvetteState(1, 1, 2, TRUE), -1);
}

TEST(CuvetteHolder, ReportsEachCuvetteOnceOnBothInstruments) {
  for (const bool bUV : {true, false}) {
    Reader reader(bUV);
    reader.Insert(40);  // there before the reader starts
    reader.Start();
    Sleep(LONG_ENOUGH);
    int iBefore = 40;
    for (const int iSize : {10, 14, 20, 50, 0, 50, 0}) {
      reader.Insert(iSize);
      EXPECT_EQ(reader.holder.GetCuvetteState(), iSize) << "reads the pins at once";
      EXPECT_EQ(reader.holder.GetCuvetteSize(), iBefore) << "the size is the stable one";
      Sleep(LONG_ENOUGH);
      EXPECT_EQ(reader.holder.GetCuvetteSize(), iSize);
      iBefore = iSize;
    }
    EXPECT_EQ(reader.Told(), "40 10 14 20 50 0 50 0") << "bUV " << bUV;
    EXPECT_EQ(reader.world.LogLines("[CuvetteReader] detected new cuvette size= 40, last size= 0"), 1U);
    EXPECT_EQ(reader.world.LogLines("[CuvetteReader] detected new cuvette size= 0, last size= 50"), 2U);
    EXPECT_EQ(reader.world.LogLines("Starting Thread [CuvetteReader] ..."), 1U);
    EXPECT_NE(reader.world.board.DebugText().find(u"[CuvetteReader] detect of new cuvette state = 40"),
              std::u16string::npos);
    EXPECT_EQ(reader.world.board.PinOutput(0, 9), 1U);
  }
}

TEST(CuvetteHolder, WaitsForFiveEqualPolls) {
  Reader reader;
  reader.Start();
  Sleep(LONG_ENOUGH);
  reader.Insert(20);
  Sleep(75);  // four polls at most
  EXPECT_EQ(reader.Told(), "");
  Sleep(30);  // five at least
  EXPECT_EQ(reader.Told(), "20");
}

TEST(CuvetteHolder, TakesTheBounceOut) {
  for (std::uint64_t nSeed = 1; nSeed <= 30; ++nSeed) {
    Reader reader(true, {nSeed, true, 60});
    reader.Start();
    // A cuvette that only brushes the switches, one that stays, one that is lifted for a moment, and its removal.
    const std::pair<int, DWORD> movements[] = {{20, 70}, {0, 300}, {50, 300}, {0, 15}, {50, 300}, {0, 300}};
    for (const auto& [iSize, dwPause] : movements) {
      reader.Insert(iSize);
      Sleep(dwPause);
    }
    EXPECT_EQ(reader.Told(), "50 0") << nSeed;
  }
}

TEST(CuvetteHolder, TakesTheFixationAndUnreadablePinsForNoCuvette) {
  for (const bool bUnreadable : {false, true}) {
    Reader reader;
    reader.Start();
    const auto fault = [&](bool bOn) {
      reader.world.holder.SetUnreadable(11, bUnreadable && bOn);
      reader.Insert(bOn && !bUnreadable ? simulator::CuvetteHolder::Fixation : 0);
      Sleep(bOn ? LONG_ENOUGH : 0);
    };
    const std::string line = "[CuvetteReader] detected fixation ! iSize= -1";
    fault(true);
    EXPECT_EQ(reader.holder.GetCuvetteState(), -1);
    EXPECT_EQ(reader.holder.GetCuvetteSize(), 0);
    EXPECT_EQ(reader.Told(), "");
    EXPECT_EQ(reader.world.LogLines(line), 1U);
    fault(false);
    reader.Insert(20);
    Sleep(LONG_ENOUGH);
    fault(true);
    EXPECT_EQ(reader.Told(), "20 0");
    EXPECT_EQ(reader.world.LogLines(line), 2U);
    EXPECT_EQ(reader.world.LogLines("[CuvetteReader] detected new cuvette size= 0, last size= 20"), 1U);
  }
}

TEST(CuvetteHolder, PollsAtOnceWhenItsEventIsSignalled) {
  Reader reader;
  reader.Start();
  Sleep(1);
  const HANDLE hEvent = CreateEventW(FALSE, FALSE, u"MyEvent");
  reader.Insert(20);
  for (int i = 0; i < 5; ++i) {
    SetEvent(hEvent);
    Sleep(1);
  }
  EXPECT_EQ(reader.Told(), "20");
  CloseHandle(hEvent);
}

TEST(CuvetteHolder, ReadsThePinsWithoutAReader) {
  Reader reader;
  reader.world.kernel.events.Start(1);
  reader.Start();
  reader.ExpectEnded();
  reader.Insert(14);
  Sleep(LONG_ENOUGH);
  EXPECT_EQ(reader.Told(), "");
  EXPECT_EQ(reader.holder.GetCuvetteState(), 14);
}

TEST(CuvetteHolder, ClosedWhileItReads) {
  for (std::uint64_t nPoint = 1; nPoint <= 8; ++nPoint) {
    Reader reader;
    reader.Start();
    Sleep(1);
    VirtualBoard& board = reader.world.board;
    board.RunAtPoint(board.Points() + nPoint, "closer", [&] { reader.holder.CloseCuvetteGpio(); });
    EXPECT_EQ(reader.holder.GetCuvetteState(), 0) << nPoint;
  }
}

TEST(CuvetteHolder, KeepsTheSizeThatTheHostSetUntilTheSwitchesChange) {
  Reader reader;
  reader.Start();
  reader.state.Lock()->m_Status.iCuvetteSize = 50;
  reader.Insert(20);
  Sleep(40);
  reader.Insert(0);
  Sleep(LONG_ENOUGH);
  EXPECT_EQ(reader.holder.GetCuvetteSize(), 50);
  reader.Insert(50);
  Sleep(LONG_ENOUGH);
  EXPECT_EQ(reader.Told(), "") << "nothing new for the host";
  reader.Insert(10);
  Sleep(LONG_ENOUGH);
  EXPECT_EQ(reader.Told(), "10");
}

}  // namespace
}  // namespace photometer::tests
