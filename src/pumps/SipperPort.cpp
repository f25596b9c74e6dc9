#include "pumps/SipperPort.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

namespace photometer {

namespace {

/// Answers begin with a letter and a separator.
constexpr std::size_t ANSWER_HEAD = 2;
constexpr char SEPARATOR = ';';

/// The pump's counter of days while it has none.
constexpr int NO_DAYS = 255;
constexpr std::int64_t HOURS_PER_DAY = 24;
constexpr std::size_t LONGEST_RUN_TIME = 64;

/// Takes the text up to the next separator, or all, out of what is left. Nothing left: an empty field.
std::string_view TakeField(std::string_view* pRest) {
  const std::size_t nEnd = pRest->find(SEPARATOR);
  const std::string_view field = pRest->substr(0, nEnd);
  *pRest = nEnd == std::string_view::npos ? std::string_view() : pRest->substr(nEnd + 1);
  return field;
}

/// A decimal number with what surrounds it; 0 without one, or for one that is too long.
int TakeNumber(std::string_view* pRest) {
  std::string_view field = TakeField(pRest);
  field.remove_prefix(std::min(field.find_first_not_of(" \t\r\n"), field.size()));
  if (field.starts_with('+')) {
    field.remove_prefix(1);
  }
  int iNumber = 0;
  const auto [pEnd, error] = std::from_chars(field.data(), field.data() + field.size(), iNumber);
  return error == std::errc() ? iNumber : 0;
}

}  // namespace

// ---- the port ----

LONG SipperPort::OpenSipperPort() {
  if (!ConfigureSipperPort()) {
    return 0;
  }
  m_Line.WriteFramed("e");
  return 1;
}

BOOL SipperPort::ConfigureSipperPort() {
  LineSettings settings{};
  {
    const auto state = m_State.Lock();
    settings = PortSettings(state->m_Params, state->m_PumpInfo.m_iOperatingMode == MODE_ZQ_420);
  }
  PortReader reader{.name = "COM6_Reader", .iFailedReadLimit = 1, .onBlock = nullptr, .onEnd = nullptr};
  reader.onBlock = [this, frames = FrameReader()](std::string_view bytes) mutable {
    if (m_Line.TakeBlock(bytes, &frames)) {
      return;
    }
    while (const auto frame = frames.ExtractFrame()) {
      TakeFrame(*frame);
    }
  };
  reader.onStart = [] { NKDbgPrintfW("[COM6_Reader] Thread COM6_Reader started..."); };
  reader.onLost = [this] { ForgetPump(); };
  reader.onEnd = [this](bool bLost) { EndReader(bLost); };
  return m_Line.Port().Open(settings, std::move(reader));
}

// ---- the reader ----

void SipperPort::TakeFrame(const std::string& frame) {
  if (frame == "p") {
    NoteDetected();
  } else if (frame.find("d;") != std::string::npos) {
    TakeData(frame);
  } else if (frame.find("t;") != std::string::npos) {
    TakeRunTime(frame);
  }
}

void SipperPort::NoteDetected() {
  if (std::exchange(m_State.Lock()->m_Status.bSipperDetected, TRUE)) {
    return;
  }
  NKDbgPrintfW("[COM6_Reader] detect ZQ-420 sipper...");
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperInfoChanged(); });
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperConnectionChanged(TRUE); });
  m_State.Reset(&DeviceState::SipperLostEvent);
}

void SipperPort::TakeData(const std::string& frame) {
  std::string_view rest = std::string_view(frame).substr(ANSWER_HEAD);
  {
    const auto state = m_State.Lock();
    state->m_PumpInfo.m_strSipperData1 = TakeField(&rest);
    state->m_PumpInfo.m_strSipperData2 = TakeField(&rest);
    state->m_PumpInfo.m_strPumpVersion = rest;
  }
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperInfoChanged(); });
}

void SipperPort::TakeRunTime(const std::string& frame) {
  std::string_view rest = std::string_view(frame).substr(ANSWER_HEAD);
  const int iDays = TakeNumber(&rest);
  const int iHours = TakeNumber(&rest);
  const int iMinutes = TakeNumber(&rest);
  const int iSeconds = TakeNumber(&rest);
  const std::int64_t nHours = (iDays == NO_DAYS ? 0 : iDays) * HOURS_PER_DAY + iHours;
  const std::string runTime =
      FormatText(LONGEST_RUN_TIME, "%lld:%02d:%02d", static_cast<long long>(nHours), iMinutes, iSeconds);
  m_State.Lock()->m_PumpInfo.m_strSipperRunTime = runTime;
}

void SipperPort::ForgetPump() {
  const auto state = m_State.Lock();
  state->m_Status.bSipperDetected = FALSE;
  state->m_PumpInfo.m_strSipperData1.clear();
  state->m_PumpInfo.m_strSipperRunTime.clear();
  state->m_PumpInfo.dwReserved1 = 0;
  state->m_PumpInfo.dwReserved3 = 0;
}

void SipperPort::EndReader(bool bLost) {
  if (bLost) {
    NKDbgPrintfW("[COM6_Reader] ReadFile failed...");
    m_Sink.Notify([this](IPhotometerSink& sink) {
      // The host may have opened the port again meanwhile, and the pump may have answered: the newer news stands.
      if (!m_State.Lock()->m_Status.bSipperDetected) {
        sink.OnSipperConnectionChanged(FALSE);
      }
    });
  }
  NKDbgPrintfW("[COM6_Reader] Thread COM6_Reader closed.\n\r");
}

// ---- questions and supervision ----

void SipperPort::RequestSipperData() {
  bool bData = false;
  bool bRunTime = false;
  {
    const auto state = m_State.Lock();
    bData = state->m_PumpInfo.m_strSipperData1.empty();
    bRunTime = state->m_PumpInfo.m_strSipperRunTime.empty();
  }
  if (bData) {
    m_Line.WriteFramed("d");
  } else if (bRunTime) {
    RequestSipperRunTime();
  }
}

void SipperPort::SuperviseZQ420() {
  if (m_Line.Port().IsLost()) {
    m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperPortLost(); });
    m_State.Signal(&DeviceState::SipperLostEvent);
    return;
  }
  const bool bDone = std::exchange(m_State.Lock()->m_PumpInfo.m_bSipperCycleDone, FALSE) != FALSE;
  m_Sink.Notify([bDone](IPhotometerSink& sink) { bDone ? sink.OnSipperCycleDone() : sink.OnSipperTick(); });
}

}  // namespace photometer
