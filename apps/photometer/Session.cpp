#include "Session.h"

#include <algorithm>
#include <array>

#include "Trace.h"

namespace host {

namespace layer = photometer::platform;

namespace {

// A person's request to end is noticed within this time.
constexpr DWORD SliceMilliseconds = 50;
// After its end was told, or a cancel asked for, a run may still be in an exchange and the two of the end sequence,
// each given up after 60 s of silence.
constexpr DWORD EndLimitMilliseconds = 190'000;
// The start-up clears busy first and tells its end then.
constexpr DWORD EndNoticeMilliseconds = 3'000;

// Notifications that tell the end of a run.
constexpr std::array EndCodes = {NOTIFY_FINISHED, NOTIFY_CANCELLED, NOTIFY_START_UP_ENDED, NOTIFY_TEST_PASSED,
                                 NOTIFY_TEST_FAILED};

}  // namespace

/// What is known about the end that is waited for.
struct Session::Waiting {
  EventHandler handler;
  bool bEndTold = false;
  bool bCancelled = false;
  std::optional<LONG> error;
  /// How often a person had asked before.
  int iRequests = 0;
  /// Tick at which the end had to be near.
  std::optional<DWORD> dwEndTick;

  void ExpectEnd() {
    if (!dwEndTick) {
      dwEndTick = layer::GetTickCount();
    }
  }
  [[nodiscard]] bool Late(DWORD dwLimit) const { return dwEndTick && layer::GetTickCount() - *dwEndTick >= dwLimit; }
};

Session::Session(Progress& progress, const Interrupt& interrupt, layer::Transcript* pTranscript)
    : m_progress(progress),
      m_interrupt(interrupt),
      m_pTranscript(pTranscript),
      m_iNoted(interrupt.Count()),
      m_sink(pTranscript),
      m_pDevice(CreatePhotometer()) {
  if (m_pDevice != nullptr) {
    m_pDevice->SetSink(&m_sink);
  }
}

Session::~Session() {
  if (m_pDevice == nullptr) {
    return;
  }
  Shutdown();
  m_pDevice->SetSink(nullptr);
  m_pDevice->Release();
}

void Session::Shutdown() {
  if (!m_bShutDown) {
    m_pDevice->Shutdown();
    m_bShutDown = true;
  }
}

int Session::Requests() {
  const int iCount = m_interrupt.Count();
  m_iNoted = std::min(m_iNoted, iCount);
  for (; m_pTranscript != nullptr && m_iNoted < iCount; ++m_iNoted) {
    m_pTranscript->Note(layer::CurrentBoard().GetKernel().GetMicroseconds(), HostChannel, TraceInterrupt);
  }
  return iCount;
}

bool Session::IsBusy() { return m_pDevice->GetStatus().bBusy != 0; }

RunEnd Session::StartUp(const photometer::PhotometerParameters& params, const photometer::CalibrationData& calibration,
                        AfterFailure after) {
  // `Initialize` waits up to 60 s for a unit that is not there; meanwhile this thread listens to the person.
  std::atomic<HRESULT> hResult{photometer::E_FAIL};
  m_bShutDown = false;
  const layer::HANDLE hStarter = layer::CreateThread(
      [this, &params, &calibration, &hResult] { hResult = m_pDevice->Initialize(&params, &calibration); }, "Starter",
      nullptr);
  if (hStarter == 0) {
    return {Outcome::Refused, std::nullopt, photometer::E_FAIL};
  }
  const RunEnd end = WaitForStartUp(hStarter, hResult);
  if (end.outcome != Outcome::Finished && (end.outcome != Outcome::Failed || after == AfterFailure::ShutDown)) {
    Shutdown();
  }
  layer::WaitForSingleObject(hStarter, layer::INFINITE);
  layer::CloseHandle(hStarter);
  return end;
}

RunEnd Session::WaitForStartUp(layer::HANDLE hStarter, const std::atomic<HRESULT>& hResult) {
  Waiting waiting;
  while (Requests() == 0) {
    Handle(m_sink.Take(SliceMilliseconds), waiting);
    if (layer::WaitForSingleObject(hStarter, 0) != layer::WAIT_OBJECT_0) {
      continue;
    }
    if (hResult != photometer::S_OK) {
      return {Outcome::Refused, std::nullopt, hResult};
    }
    if (IsBusy()) {
      continue;
    }
    waiting.ExpectEnd();
    if (waiting.bEndTold || waiting.Late(EndNoticeMilliseconds)) {
      const bool bPassed = m_pDevice->GetStatus().bInitialized != 0;
      return {bPassed ? Outcome::Finished : Outcome::Failed, waiting.error, photometer::S_OK};
    }
  }
  return {Outcome::Cancelled, waiting.error, photometer::S_OK};
}

RunEnd Session::Run(const StartOperation& start, const EventHandler& handler, EndNotice notice) {
  // What was told before belongs to no run.
  Waiting waiting;
  Handle(m_sink.Take(0), waiting);
  waiting = {};
  waiting.handler = handler;
  m_bMeasured = true;
  const HRESULT hResult = start(*m_pDevice);
  if (hResult != photometer::S_OK) {
    return {Outcome::Refused, std::nullopt, hResult};
  }
  if (const std::optional<RunEnd> end = WaitForIdle(waiting)) {
    return *end;
  }
  waiting.dwEndTick.reset();
  waiting.ExpectEnd();
  while (notice == EndNotice::AfterIdle && !waiting.bEndTold && !waiting.Late(EndNoticeMilliseconds)) {
    Handle(m_sink.Take(SliceMilliseconds), waiting);
  }
  if (waiting.error) {
    return {Outcome::Failed, waiting.error, photometer::S_OK};
  }
  if (waiting.bCancelled) {
    return {Outcome::Cancelled, std::nullopt, photometer::S_OK};
  }
  return {waiting.bEndTold ? Outcome::Finished : Outcome::NoEnd, std::nullopt, photometer::S_OK};
}

std::optional<RunEnd> Session::WaitForIdle(Waiting& waiting) {
  for (;;) {
    // Busy is looked at first: what was told before it was cleared is then in the sink.
    const bool bBusy = IsBusy();
    Handle(m_sink.Take(bBusy ? SliceMilliseconds : 0), waiting);
    if (!bBusy) {
      return std::nullopt;
    }
    FollowInterrupt(waiting);
    if (waiting.iRequests > 1 || waiting.Late(EndLimitMilliseconds)) {
      Shutdown();
      return RunEnd{waiting.iRequests > 1 ? Outcome::Cancelled : Outcome::NoEnd, waiting.error, photometer::S_OK};
    }
  }
}

void Session::Handle(const std::vector<HostEvent>& events, Waiting& waiting) {
  for (const HostEvent& event : events) {
    const auto* pTold = std::get_if<InstrumentError>(&event);
    // Some runs tell their error twice.
    if (pTold == nullptr || waiting.error != pTold->iNumber) {
      m_progress.Show(event);
    }
    if (waiting.handler) {
      waiting.handler(event);
    }
    m_bMeasured = m_bMeasured && !std::holds_alternative<CuvetteChange>(event);
    const std::optional<DWORD> code = CodeOf(event);
    waiting.bCancelled = waiting.bCancelled || code == NOTIFY_CANCELLED;
    if (const auto* pError = std::get_if<InstrumentError>(&event)) {
      waiting.error = pError->iNumber;
      waiting.ExpectEnd();
    }
    if (code && std::find(EndCodes.begin(), EndCodes.end(), *code) != EndCodes.end()) {
      waiting.bEndTold = true;
      waiting.ExpectEnd();
    }
  }
}

void Session::FollowInterrupt(Waiting& waiting) {
  const int iRequests = Requests();
  if (iRequests == waiting.iRequests) {
    return;
  }
  if (waiting.iRequests == 0) {
    m_progress.Say("cancelling the run; once more shuts the instrument down at once");
    m_pDevice->CancelMeasurement();
    waiting.ExpectEnd();
  }
  waiting.iRequests = iRequests;
}

Outcome Session::Listen(const EventHandler& handler, const std::function<bool()>& goesOn,
                        std::optional<DWORD> dwSeconds, int iRequests) {
  const DWORD dwStart = layer::GetTickCount();
  const auto hear = [this, &handler](const std::vector<HostEvent>& events) {
    for (const HostEvent& event : events) {
      m_bMeasured = m_bMeasured && !std::holds_alternative<CuvetteChange>(event);
      handler(event);
    }
  };
  while (Requests() <= iRequests) {
    if (!goesOn()) {
      return Outcome::Finished;
    }
    const DWORD dwPassed = layer::GetTickCount() - dwStart;
    if (dwSeconds && dwPassed >= *dwSeconds * 1000) {
      return Outcome::NoEnd;
    }
    hear(m_sink.Take(dwSeconds ? std::min(SliceMilliseconds, *dwSeconds * 1000 - dwPassed) : SliceMilliseconds));
  }
  return Outcome::Cancelled;
}

Outcome Session::Attend(const Attendance& attendance) {
  const auto goesOn = [&attendance] { return !attendance.isOver(); };
  Outcome outcome = Listen(attendance.handler, goesOn, attendance.dwSeconds);
  if (outcome == Outcome::Cancelled) {
    m_progress.Say("ending it; once more shuts the instrument down at once");
    attendance.cancel();
    outcome = Listen(attendance.handler, goesOn, attendance.dwSeconds, 1);
    outcome = outcome == Outcome::Finished ? Outcome::Cancelled : outcome;
    if (goesOn()) {
      Shutdown();
    }
  } else if (outcome == Outcome::NoEnd) {
    Shutdown();
  }
  return outcome;
}

Outcome Session::WaitForCuvette(DWORD dwSeconds) {
  return WaitUntil([](photometer::IPhotometer& device) { return device.GetCuvetteSize() > 0; }, dwSeconds);
}

Outcome Session::WaitForEmptyHolder(DWORD dwSeconds) {
  return WaitUntil([](photometer::IPhotometer& device) { return device.GetCuvetteSize() <= 0; }, dwSeconds);
}

void Session::TellNews() {
  Waiting waiting;
  Handle(m_sink.Take(0), waiting);
}

bool Session::HoldsMeasuredCuvette() {
  TellNews();
  return m_bMeasured && m_pDevice->GetCuvetteSize() > 0;
}

Outcome Session::WaitUntil(const std::function<bool(photometer::IPhotometer&)>& isReached, DWORD dwSeconds) {
  Waiting waiting;
  waiting.ExpectEnd();
  while (Requests() == 0) {
    if (isReached(*m_pDevice)) {
      return Outcome::Finished;
    }
    if (waiting.Late(dwSeconds * 1000)) {
      return Outcome::NoEnd;
    }
    Handle(m_sink.Take(SliceMilliseconds), waiting);
  }
  return Outcome::Cancelled;
}

}  // namespace host
