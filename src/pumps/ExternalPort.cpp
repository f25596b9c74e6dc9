#include "pumps/ExternalPort.h"

#include <utility>

namespace photometer {

namespace {

/// A pump that has shown no sign of life for so long is lost, ms: three of its keep-alives are missing.
constexpr DWORD CONTACT_LIMIT = 3501;

constexpr std::size_t LONGEST_PARAMETER_TEXT = 20;

/// The pump's banner at its switch-on: identity, two bytes that are the pump's own, version.
constexpr std::string_view IDENTITY = "VELTRANOMETRIK ZQ-410";
constexpr std::size_t IDENTITY_GAP = 2;
constexpr std::size_t VERSION_LENGTH = 6;

constexpr const char* VERSION_REQUEST = "V;a";
/// Before the digits "01.07".
constexpr std::string_view VERSION_ANSWER = "v;ZQ410;";
constexpr std::size_t VERSION_DIGITS = 5;
/// The version's text while the pump has been asked for it.
constexpr const char* VERSION_ASKED = "V";

}  // namespace

std::string PumpParameterText(DWORD dwPumpTime, DWORD dwPumpParam2) {
  return FormatText(LONGEST_PARAMETER_TEXT, "H;%.3d;%.3d", static_cast<int>(dwPumpTime),
                    static_cast<int>(dwPumpParam2));
}

// ---- the port ----

BOOL ExternalPort::OpenExternalPort() {
  LineSettings settings{};
  {
    const auto state = m_State.Lock();
    settings = PortSettings(state->m_Params, state->m_PumpInfo.m_iOperatingMode == MODE_ZQ_410);
  }
  PortReader reader{.name = "RS232_Reader", .onBlock = nullptr, .onEnd = nullptr};
  reader.onBlock = [this, frames = FrameReader()](std::string_view bytes) mutable { TakeBlock(bytes, &frames); };
  reader.onEnd = [](bool) { NKDbgPrintfW("[Photometer] Ending RS232_Reader thread.\n\r"); };
  return m_Line.Port().Open(settings, std::move(reader));
}

HRESULT ExternalPort::SetExternalPortSettings(DWORD dwBaudRate, DWORD dwByteSize, DWORD dwParity) {
  {
    const auto state = m_State.Lock();
    state->m_Params.dwBaudRate = dwBaudRate;
    state->m_Params.dwByteSize = dwByteSize;
    state->m_Params.dwParity = dwParity;
  }
  m_Line.Port().Apply({dwBaudRate, dwByteSize, dwParity});
  return S_OK;
}

HRESULT ExternalPort::ResetExternalPortSettings() {
  const PhotometerParameters params = m_State.Lock()->m_Params;
  m_Line.Port().Apply(PortSettings(params, static_cast<LONG>(params.dwOperatingMode) == MODE_ZQ_410));
  return S_OK;
}

HRESULT ExternalPort::WriteExternalPort(std::string_view bytes) {
  if (bytes.empty()) {
    return S_OK;
  }
  {
    const auto state = m_State.Lock();
    if (state->m_Status.bBusy && !state->m_Status.bInitialized) {
      return E_FAIL;
    }
  }
  m_Line.Write(bytes);
  return S_OK;
}

// ---- the reader ----

void ExternalPort::TakeBlock(std::string_view bytes, FrameReader* pFrames) {
  if (m_Line.TakeBlock(bytes, pFrames)) {
    NoteZQ410Contact();
  } else if (m_State.Lock()->m_PumpInfo.m_iOperatingMode == MODE_ZQ_410) {
    TakeFrames(pFrames);
  } else {
    PassThrough(pFrames->TakeAll());
  }
}

void ExternalPort::PassThrough(const std::string& bytes) {
  std::string reply;
  m_Sink.Notify(
      [&](IPhotometerSink& sink) { sink.OnExternalPortData(bytes.c_str(), static_cast<DWORD>(bytes.size()), &reply); });
  if (!reply.empty()) {
    m_Line.Write(reply);
  }
}

void ExternalPort::TakeFrames(FrameReader* pFrames) {
  std::string version;
  switch (pFrames->TakeBanner(IDENTITY, IDENTITY_GAP, VERSION_LENGTH, &version)) {
    case FrameReader::Banner::Incomplete:
      return;
    case FrameReader::Banner::Taken:
      m_State.Lock()->m_PumpInfo.m_strPumpVersion = version;
      break;
    case FrameReader::Banner::None:
      break;
  }
  while (const auto frame = pFrames->ExtractFrame()) {
    TakeFrame(*frame);
  }
}

void ExternalPort::TakeFrame(const std::string& frame) {
  const auto holds = [&frame](std::string_view text) { return frame.find(text) != std::string::npos; };
  if (frame == "y;a") {
    AnswerKeepAlive();
  } else if (holds("h;")) {
    NoteZQ410Contact();
    m_State.Lock()->m_PumpInfo.m_bPumpParamsAcknowledged = TRUE;
  } else if (holds("h1;a")) {
    m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperKeyA(); });
  } else if (holds("h1;b")) {
    ReportCycle();
  } else if (holds(VERSION_ANSWER)) {
    TakeVersion(frame);
  }
}

void ExternalPort::NoteZQ410Contact() {
  const auto state = m_State.Lock();
  state->m_PumpInfo.m_dwPumpContactTick = GetTickCount();
}

void ExternalPort::AnswerKeepAlive() {
  m_Line.WriteFramed("Y;a");
  BOOL bKnown = FALSE;
  {
    const auto state = m_State.Lock();
    // Together: a supervision that sees the pump detected must not see its last sign of life before.
    state->m_PumpInfo.m_dwPumpContactTick = GetTickCount();
    bKnown = std::exchange(state->m_Status.bSipperDetected, TRUE);
  }
  if (!bKnown) {
    NKDbgPrintfW("[Photometer] detect ZQ-410 sipper...");
    m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperConnectionChanged(TRUE); });
  }
}

void ExternalPort::ReportCycle() {
  {
    const auto state = m_State.Lock();
    state->m_PumpInfo.m_bPumpCycleReported = TRUE;
    state->m_PumpInfo.m_dwPumpContactTick = GetTickCount();
  }
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperKeyB(); });
}

void ExternalPort::TakeVersion(const std::string& frame) {
  const std::size_t nDigits = frame.find(VERSION_ANSWER) + VERSION_ANSWER.size();
  if (frame.size() < nDigits + VERSION_DIGITS) {
    return;
  }
  NoteZQ410Contact();
  const std::string version = "V" + frame.substr(nDigits, 2) + "." + frame.substr(nDigits + 3, 2);
  m_State.Lock()->m_PumpInfo.m_strPumpVersion = version;
}

// ---- supervision ----

bool ExternalPort::ForgetIfSilent() {
  const auto state = m_State.Lock();
  PumpInfo& pump = state->m_PumpInfo;
  const DWORD dwContact = pump.m_dwPumpContactTick;
  if (GetTickCount() - dwContact < CONTACT_LIMIT) {
    return false;
  }
  state->m_Status.bSipperDetected = FALSE;
  m_Line.StopCapture();
  pump.m_bPumpParamsAcknowledged = FALSE;
  pump.m_strPumpVersion.clear();
  return true;
}

void ExternalPort::SuperviseZQ410() {
  if (ForgetIfSilent()) {
    NKDbgPrintfW("[TIMER] lost ZQ-410 connection...");
    m_Sink.Notify([](IPhotometerSink& sink) { sink.OnSipperConnectionChanged(FALSE); });
    return;
  }
  if (const std::string question = NextQuestion(); !question.empty()) {
    NKDbgPrintfW(question == VERSION_REQUEST ? "[TIMER] send pump version request..."
                                             : "[TIMER] send pump parameter...");
    m_Line.WriteFramed(question);
  }
}

std::string ExternalPort::NextQuestion() {
  const auto state = m_State.Lock();
  PumpInfo& pump = state->m_PumpInfo;
  if (m_Line.IsClaimed()) {
    return "";
  }
  if (!pump.m_bPumpParamsAcknowledged) {
    return PumpParameterText(state->m_Params.PumpTime, state->m_Params.PumpParam2);
  }
  if (!pump.m_strPumpVersion.empty()) {
    return "";
  }
  pump.m_strPumpVersion = VERSION_ASKED;
  return VERSION_REQUEST;
}

}  // namespace photometer
