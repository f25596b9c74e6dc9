#include "support/PumpBench.h"

#include <optional>

namespace fuzz {

namespace {

using photometer::DWORD;

constexpr DWORD THREADS_END_LIMIT = 3000;
/// Longer than any block takes to be read, ms.
constexpr DWORD ARRIVAL = 300;

}  // namespace

PumpBench::PumpBench(photometer::LONG iMode) {
  const bool bZQ410 = iMode == photometer::MODE_ZQ_410;
  board->PlugPort(u"COM1:", bZQ410 ? pump : other);
  board->PlugPort(u"COM6:", bZQ410 ? other : pump);
  sink.SetSink(&host);
  {
    const auto guarded = state.Lock();
    guarded->m_Params.dwOperatingMode = static_cast<DWORD>(iMode);
    guarded->m_Params.dwBaudRate = 9600;
    guarded->m_Params.dwByteSize = 8;
    guarded->m_Params.PumpTime = 5;
    guarded->m_Params.PumpParam2 = 120;
    guarded->m_PumpInfo.m_iOperatingMode = iMode;
  }
  Require(externalBuffer.CreateDataEvent() != 0 && sipperBuffer.CreateDataEvent() != 0 && state.CreateEvents() != 0,
          "events can be created");
  Require(external.OpenExternalPort() != 0 && sipper.OpenSipperPort() == 1, "the ports can be opened");
  photometer::Sleep(ARRIVAL);
}

PumpBench::~PumpBench() {
  sink.CloseGate();
  state.RaiseStop();
  Require(threads.WaitUntilEnded(THREADS_END_LIMIT) != 0, "the readers end when the device stops");
  Require(Info().m_bPumpCapture == 0, "no exchange captures any more");
  external.CloseExternalPort();
  sipper.CloseSipperPort();
  externalBuffer.CloseDataEvent();
  sipperBuffer.CloseDataEvent();
  state.CloseEvents();
  board.RequireClean();
}

void PumpBench::Hear(const std::vector<Piece>& pieces) {
  pump.Say(board->Now(), pieces);
  photometer::Sleep(static_cast<DWORD>(TotalTime(pieces) / 1000) + ARRIVAL);
}

std::vector<std::string> FramesOf(const std::string& bytes) {
  std::vector<std::string> frames;
  std::optional<std::string> begun;
  for (const char byte : bytes) {
    if (byte == photometer::ETX) {
      if (begun) {
        frames.push_back(*begun);
      }
      begun.reset();
    } else if (begun) {
      *begun += byte;
    } else if (byte == photometer::STX) {
      begun.emplace();
    }
  }
  return frames;
}

}  // namespace fuzz
