#include "support/Optics.h"

namespace photometer::tests {

namespace {

constexpr DWORD THREADS_END_LIMIT = 3000;

/// A detector value as the unit sends it.
std::string Bytes24(DWORD dwValue) {
  return {static_cast<char>(dwValue >> 16U), static_cast<char>(dwValue >> 8U), static_cast<char>(dwValue)};
}

}  // namespace

Optics::Optics(bool bAtOnce) : Optics(WorldOptions{{}, {}, &device, bAtOnce}) {}

Optics::Optics(const WorldOptions& options) : world(options) {
  state.Lock()->m_Params = DefaultParameters();
  sink.SetSink(&world.sink);
  EXPECT_TRUE(model.BuildTable());
  EXPECT_TRUE(buffer.CreateDataEvent());
  EXPECT_TRUE(state.CreateEvents());
  EXPECT_TRUE(link.OpenOpticalPort());
  state.Lock()->m_Status.bBusy = TRUE;
}

Optics::~Optics() {
  Stop();
  world.ExpectClean();
}

void Optics::Stop() {
  if (m_bStopped) {
    return;
  }
  m_bStopped = true;
  state.RaiseStop();
  EXPECT_TRUE(threads.WaitUntilEnded(THREADS_END_LIMIT));
  link.CloseOpticalPort();
  buffer.CloseDataEvent();
  state.CloseEvents();
}

void ExpectLineInOrder(Optics& optics) {
  optics.device.ForgetScripts();
  optics.device.Script("$g1", Answer{{250'000, "error\r\n"}});
  optics.device.Script("$a3", Answer{{250'000, Readings(3, 6, 3)}});
  EXPECT_EQ(optics.unit.SetGain(TRUE), 34U);
  double dReference = 0.0;
  EXPECT_EQ(optics.detectors.GetADValue(nullptr, &dReference), 0U);
  EXPECT_EQ(dReference, 6.0);
}

std::string Readings(DWORD dwSample, DWORD dwReference, int iCount) {
  std::string bytes;
  for (int i = 0; i < iCount; ++i) {
    bytes += Bytes24(dwSample) + Bytes24(dwReference);
  }
  return bytes;
}

}  // namespace photometer::tests
