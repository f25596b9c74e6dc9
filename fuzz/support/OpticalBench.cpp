#include "support/OpticalBench.h"

namespace fuzz {

namespace {

constexpr photometer::DWORD THREADS_END_LIMIT = 3000;

}  // namespace

OpticalBench::OpticalBench() {
  board->PlugPort(u"COM2:", device, true);
  Require(buffer.CreateDataEvent() != 0 && state.CreateEvents() != 0 && link.OpenOpticalPort() != 0,
          "the port can be opened");
  state.Lock()->m_Status.bBusy = photometer::TRUE;
}

OpticalBench::~OpticalBench() {
  state.RaiseStop();
  Require(threads.WaitUntilEnded(THREADS_END_LIMIT) != 0, "the reader ends when the device stops");
  link.CloseOpticalPort();
  buffer.CloseDataEvent();
  state.CloseEvents();
  board.RequireClean();
}

}  // namespace fuzz
