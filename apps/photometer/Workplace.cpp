#include "Workplace.h"

#include <fmt/format.h>

#include "ByteText.h"
#include "RecordedTyping.h"
#include "ShellTrace.h"
#include "Terminal.h"
#include "platform/Platform.h"

namespace host {

bool Workplace::Open(Console& console, const std::optional<BoardPort>& port) {
  if (console.pReplay != nullptr) {
    m_board.Take(*console.pReplay);
    return true;
  }
  const std::string complaint = m_board.Open(m_boardOptions, m_instrumentOptions, port);
  if (!complaint.empty()) {
    console.messages << "photometer: " << Harmless(complaint) << "\nNothing was started.\n";
  }
  return complaint.empty();
}

bool Workplace::MakeSession(Console& console) {
  if (m_session) {
    return true;
  }
  m_progress = std::make_unique<Progress>(console.messages, console.bTerminal, photometer::platform::GetTickCount,
                                          TerminalColumns);
  m_session = std::make_unique<Session>(*m_progress, console.interrupt, m_board.Transcript());
  if (!m_session->HasDevice()) {
    m_progress->Say("the device could not be made: out of memory");
    m_session.reset();
    return false;
  }
  for (const std::string& note : m_instrumentOptions.Notes()) {
    m_progress->Say(note);
  }
  return true;
}

RunEnd Workplace::StartUp(AfterFailure after) {
  if (m_session->IsOn()) {
    const bool bPassed = m_session->Device().GetStatus().bInitialized != 0;
    return bPassed ? RunEnd{Outcome::Finished, std::nullopt, photometer::S_OK} : m_startUpEnd;
  }
  m_progress->Say("start-up");
  SimulatedInstrument* pSimulated = m_board.Simulated();
  if (pSimulated != nullptr) {
    pSimulated->RemoveSample();
  }
  m_startUpEnd = m_session->StartUp(m_instrumentOptions.Parameters(), m_instrumentOptions.Calibration(), after);
  if (pSimulated != nullptr && m_session->IsOn()) {
    pSimulated->BreakParts();
  }
  return m_startUpEnd;
}

void Workplace::NoteLine(const std::string& name, const TracedOptions& call) {
  if (photometer::platform::Transcript* pTranscript = m_board.Transcript()) {
    NoteShellLine(*pTranscript, photometer::platform::CurrentBoard().GetKernel().GetMicroseconds(), name, call);
  }
}

ExitCode Workplace::EndLines(Console& console, ExitCode code) {
  if (console.pLines != nullptr) {
    code = console.pLines->End().value_or(code);
  }
  m_board.Note(fmt::format("{}{}", TraceLinesEnd, static_cast<int>(code)));
  return code;
}

void Workplace::EndSession() {
  m_session.reset();
  m_progress.reset();
}

ExitCode Workplace::Close(Console& console, ExitCode code) {
  for (const std::string& fault : m_board.Faults()) {
    console.messages << "internal fault: " << fault << "\n";
    code = ExitCode::InternalFault;
  }
  m_board.Note(fmt::format("{}{}", TraceEnd, static_cast<int>(code)));
  const bool bGood = code == ExitCode::Success || code == ExitCode::CheckFailed;
  if (m_board.CloseTrace()) {
    return code;
  }
  console.messages << "the trace could not be written in full: is the disk full? See " << m_boardOptions.traceFile
                   << ".part\n";
  return bGood ? ExitCode::OutputFailed : code;
}

}  // namespace host
