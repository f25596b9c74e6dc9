#include "PumpBench.h"

#include <utility>

namespace photometer::tests {

namespace {

constexpr DWORD THREADS_END_LIMIT = 3000;
constexpr DWORD TIMER_PERIOD = 1000;
/// Longer than any block of a test takes to arrive and to be read, ms.
constexpr DWORD ARRIVAL = 300;

}  // namespace

PumpBench::PumpBench(LONG iMode, platform::VirtualBoardOptions options)
    : Optics(WorldOptions{std::move(options), {}, nullptr, true}),
      ports(world.tracing.GetSerialPorts()),
      m_Board(world.tracing),
      m_iMode(iMode) {
  m_Board.Replace(ports);
  platform::SetBoard(&m_Board);
  zq410.StopKeepAlive(0);
  world.board.PlugPort(EXTERNAL, zq410);
  world.board.PlugPort(SIPPER, zq420);
  world.holder.Insert(10, 0);
  sink.SetSink(&host);
  {
    const auto guarded = state.Lock();
    guarded->m_Params.dwOperatingMode = static_cast<DWORD>(iMode);
    guarded->m_Params.PumpTime = 5;
    guarded->m_Params.PumpParam2 = 120;
    guarded->m_Params.DelayTime = 2;
    guarded->m_PumpInfo.m_iOperatingMode = iMode;
    guarded->m_Status.bBusy = FALSE;
  }
  EXPECT_TRUE(cuvette.OpenCuvetteGpio());
  EXPECT_TRUE(externalBuffer.CreateDataEvent() && sipperBuffer.CreateDataEvent());
  platform::Sleep(ARRIVAL);  // banner and announcement are for nobody
  EXPECT_TRUE(external.OpenExternalPort());
  EXPECT_EQ(sipper.OpenSipperPort(), 1);
  platform::Sleep(ARRIVAL);
}

PumpBench::~PumpBench() { Stop(); }

void PumpBench::Stop() {
  if (std::exchange(m_bStopped, true)) {
    return;
  }
  sink.CloseGate();
  state.RaiseStop();
  EXPECT_TRUE(threads.WaitUntilEnded(THREADS_END_LIMIT));
  EXPECT_FALSE(Info().m_bPumpCapture);
  external.CloseExternalPort();
  sipper.CloseSipperPort();
  cuvette.CloseCuvetteGpio();
  externalBuffer.CloseDataEvent();
  sipperBuffer.CloseDataEvent();
  Optics::Stop();
  platform::SetBoard(&world.tracing);
}

void PumpBench::Detect() {
  const auto guarded = state.Lock();
  guarded->m_Status.bSipperDetected = TRUE;
  guarded->m_PumpInfo.m_dwPumpContactTick = GetTickCount();
}

void PumpBench::StartTimer() {
  EXPECT_TRUE(threads.Start("timer", [this] {
    while (state.Pause(TIMER_PERIOD)) {
      if (m_iMode == MODE_ZQ_420) {
        sipper.SuperviseZQ420();
      } else if (Detected()) {
        external.SuperviseZQ410();
      }
    }
  }));
}

void PumpBench::After(DWORD dwMilliseconds, std::function<void()> action) {
  EXPECT_TRUE(threads.Start("after", [this, dwMilliseconds, action = std::move(action)] {
    if (state.Pause(dwMilliseconds)) {
      action();
    }
  }));
}

void PumpBench::Cancel() {
  const auto guarded = state.Lock();
  guarded->m_Status.bCancel = TRUE;
  SetEvent(state.CancelEvent());
  SetEvent(state.PumpCancelEvent());
}

void PumpBench::ForgetCancel() {
  const auto guarded = state.Lock();
  guarded->m_Status.bCancel = FALSE;
  ResetEvent(state.CancelEvent());
  ResetEvent(state.PumpCancelEvent());
}

Texts PumpBench::TakeCalls() {
  Texts calls = host.Calls();
  world.transcript.Clear();
  return calls;
}

void PumpBench::Chatter(const std::string& bytes, simulator::Time nTimes) {
  const simulator::Time now = world.board.Now();
  for (simulator::Time n = 0; n < nTimes; ++n) {
    Line().SendBytes(now + n * 1'000'000, bytes);
  }
}

void PumpBench::Faults(const std::vector<simulator::Fault>& faults) {
  for (const simulator::Fault& fault : faults) {
    Line().Faults().Add(fault);
  }
}

void PumpBench::Say(const std::string& bytes) {
  Line().SendBytes(world.board.Now(), bytes);
  Sleep(ARRIVAL);
}

Texts PumpBench::Frames() const {
  Texts texts;
  for (const simulator::ReceivedFrame& frame : Line().Received()) {
    texts.push_back(frame.strText);
  }
  return texts;
}

}  // namespace photometer::tests
