#include "support/DeviceBench.h"

namespace fuzz {

namespace {

using photometer::DWORD;

constexpr DWORD THREADS_END_LIMIT = 3000;
/// Longer than any block takes to be read, ms.
constexpr DWORD ARRIVAL = 300;
/// What a byte takes at 9600 baud, µs.
constexpr simulator::Time BYTE_TIME = 1042;

}  // namespace

DeviceBench::DeviceBench(FarEnd farEnd) {
  board->PlugPort(u"COM2:", farEnd == FarEnd::OpticalUnit ? device : silent, true);
  board->PlugPort(u"COM1:", farEnd == FarEnd::ZQ410 ? device : silent);
  board->PlugPort(u"COM6:", farEnd == FarEnd::ZQ420 ? device : silent);
  sink.SetSink(&host);
  Require(state.CreateEvents() != 0, "events can be created");
  for (photometer::ReceiveBuffer* pBuffer : {&opticalBuffer, &externalBuffer, &sipperBuffer}) {
    Require(pBuffer->CreateDataEvent() != 0, "events can be created");
  }
  if (farEnd == FarEnd::OpticalUnit) {
    Require(link.OpenOpticalPort() != 0, "the port can be opened");
    state.Lock()->m_Status.bBusy = photometer::TRUE;
  } else {
    OpenPumps(farEnd == FarEnd::ZQ410 ? photometer::MODE_ZQ_410 : photometer::MODE_ZQ_420);
  }
}

void DeviceBench::OpenPumps(photometer::LONG iMode) {
  {
    const auto guarded = state.Lock();
    guarded->m_Params.dwOperatingMode = static_cast<DWORD>(iMode);
    guarded->m_Params.dwBaudRate = 9600;
    guarded->m_Params.dwByteSize = 8;
    guarded->m_Params.PumpTime = 5;
    guarded->m_Params.PumpParam2 = 120;
    guarded->m_PumpInfo.m_iOperatingMode = iMode;
  }
  Require(external.OpenExternalPort() != 0 && sipper.OpenSipperPort() == 1, "the ports can be opened");
  photometer::Sleep(ARRIVAL);
}

DeviceBench::~DeviceBench() {
  sink.CloseGate();
  state.RaiseStop();
  Require(threads.WaitUntilEnded(THREADS_END_LIMIT) != 0, "the readers end when the device stops");
  Require(Info().m_bPumpCapture == 0, "no exchange captures any more");
  link.CloseOpticalPort();
  external.CloseExternalPort();
  sipper.CloseSipperPort();
  for (photometer::ReceiveBuffer* pBuffer : {&opticalBuffer, &externalBuffer, &sipperBuffer}) {
    pBuffer->CloseDataEvent();
  }
  state.CloseEvents();
  board.RequireClean();
}

void DeviceBench::Hear(const std::vector<Piece>& pieces) {
  device.Say(board->Now(), pieces);
  // On their way are the bytes, and then the answers, each at most as long as what it answers.
  const simulator::Time onTheWay = 2 * Joined(pieces).size() * BYTE_TIME;
  photometer::Sleep(static_cast<DWORD>((TotalTime(pieces) + onTheWay) / 1000) + ARRIVAL);
}

std::vector<std::string> FramesOf(const std::string& bytes) {
  std::vector<std::string> frames;
  std::size_t nEnd = 0;
  for (std::size_t nStart = 0; (nStart = bytes.find(photometer::STX, nEnd)) != std::string::npos;) {
    nEnd = bytes.find(photometer::ETX, nStart);
    if (nEnd == std::string::npos) {
      break;
    }
    frames.push_back(bytes.substr(nStart + 1, nEnd - nStart - 1));
  }
  return frames;
}

}  // namespace fuzz
