#include "HostBoard.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "HostDevice.h"
#include "OutputFile.h"
#include "TraceHead.h"
#include "platform/Platform.h"

namespace host {

namespace layer = photometer::platform;

namespace {

constexpr BoardPort OpticalPort{u"COM2:", "COM2", "the optical unit"};

}  // namespace

HostBoard::~HostBoard() {
  if (m_bCurrent) {
    layer::SetBoard(m_pBefore);
  }
}

std::string HostBoard::Open(const BoardOptions& options, const InstrumentOptions& instrument,
                            const std::optional<BoardPort>& port) {
  std::string complaint = options.bSimulate ? OpenSimulated(options, instrument.Parameters()) : OpenReal(options, port);
  if (!complaint.empty() || options.traceFile.empty()) {
    return complaint;
  }
  complaint = OpenTrace(options);
  if (complaint.empty()) {
    NoteHead(options, instrument);
    Trace(m_transcript);
  }
  return complaint;
}

void HostBoard::Take(ReplayBoard& replay) {
  m_pReplay = &replay;
  m_strDescription = "replay";
  MakeCurrent(replay);
  Trace(replay.Transcript());
}

void HostBoard::Trace(layer::Transcript& transcript) {
  m_pTracingBoard = std::make_unique<layer::TracingBoard>(layer::CurrentBoard(), transcript);
  layer::SetBoard(m_pTracingBoard.get());
}

void HostBoard::NoteHead(const BoardOptions& options, const InstrumentOptions& instrument) {
  TraceHead head;
  head.bVirtual = options.bSimulate;
  head.ports = m_ports;
  head.TakeBoard();
  if (options.pApp != nullptr) {
    head.TakeCommand(*options.pApp, instrument.SettingsPath());
    // All lines of a script have asked for theirs before it starts; those of a shell ask one after the other.
    if (head.strCommand != "shell") {
      head.TakeZeros(instrument.Calibration().ZeroWavelengths);
    }
  }
  head.WriteTo(m_transcript, layer::CurrentBoard().GetKernel().GetMicroseconds());
}

layer::Transcript* HostBoard::Transcript() {
  if (m_pReplay != nullptr) {
    return &m_pReplay->Transcript();
  }
  return m_pTracingBoard ? &m_transcript : nullptr;
}

void HostBoard::Note(const std::string& text) {
  if (layer::Transcript* pTranscript = Transcript()) {
    pTranscript->Note(layer::CurrentBoard().GetKernel().GetMicroseconds(), HostChannel, text);
  }
}

std::string HostBoard::OpenSimulated(const BoardOptions& options, const photometer::PhotometerParameters& params) {
  m_pSimulated = std::make_unique<SimulatedInstrument>(options, params);
  m_strDescription = fmt::format("simulated, seed {}", options.seed);
  for (const BoardPort& port : {OpticalPort, ExternalPort, SipperPort}) {
    m_ports.emplace_back(port.key);
  }
  MakeCurrent(m_pSimulated->Board());
  return {};
}

std::string HostBoard::OpenReal(const BoardOptions& options, const std::optional<BoardPort>& port) {
  const auto loaded = layer::BoardFile::Load(options.FilePath());
  if (const auto* pComplaint = std::get_if<std::string>(&loaded)) {
    return *pComplaint + (options.boardFile.empty() ? "; or give --board FILE, or --simulate" : "");
  }
  const auto& file = std::get<layer::BoardFile>(loaded);
  m_pPosixBoard = std::make_unique<layer::PosixBoard>(file);
  if (!m_pPosixBoard->Problem().empty()) {
    return m_pPosixBoard->Problem();
  }
  m_strDescription = options.FilePath();
  MakeCurrent(*m_pPosixBoard);
  const std::string complaint = TryPort(file, OpticalPort);
  if (complaint.empty() && !options.traceFile.empty()) {
    ListPorts(file);
  }
  return complaint.empty() && port ? TryPort(file, *port) : complaint;
}

std::string HostBoard::OpenTrace(const BoardOptions& options) {
  m_strTracePath = options.traceFile;
  m_bForceTrace = options.bForce;
  const std::string part = TracePart();
  if (std::string complaint = ComplainAboutOutput(part, m_bForceTrace); !complaint.empty()) {
    return "--trace: " + complaint;
  }
  m_trace.open(part, std::ios::binary | std::ios::trunc);
  if (!m_trace) {
    return fmt::format("--trace: {} cannot be written ({}); give a file in a folder that you may write to", part,
                       std::strerror(errno));
  }
  m_transcript.WriteTo(&m_trace);
  return {};
}

void HostBoard::MakeCurrent(layer::Board& board) {
  m_pBefore = layer::SetBoard(&board);
  m_bCurrent = true;
}

std::string HostBoard::TryPort(const layer::BoardFile& file, const BoardPort& port) {
  const std::string key = std::string("ports.") + port.key;
  const auto entry = std::find_if(file.ports.begin(), file.ports.end(),
                                  [&port](const layer::SerialPortEntry& one) { return one.name == port.name; });
  if (entry == file.ports.end()) {
    return file.Complaint(
        key, fmt::format("is missing; give the device of {}, as {} = \"/dev/ttyUSB0\"", port.what, port.key));
  }
  const layer::HANDLE hPort = layer::CreateFileW(port.name);
  if (hPort == layer::INVALID_HANDLE_VALUE) {
    return file.Complaint(key, fmt::format("{} cannot be opened: {}", entry->device, WhyDeviceFails(entry->device)));
  }
  layer::CloseHandle(hPort);
  return {};
}

void HostBoard::ListPorts(const layer::BoardFile& file) {
  for (const BoardPort& port : {OpticalPort, ExternalPort, SipperPort}) {
    if (TryPort(file, port).empty()) {
      m_ports.emplace_back(port.key);
    }
  }
}

std::vector<std::string> HostBoard::Faults() const {
  if (m_pReplay != nullptr) {
    return m_pReplay->Faults();
  }
  return m_pSimulated ? m_pSimulated->Faults() : std::vector<std::string>();
}

bool HostBoard::CloseTrace() {
  if (!m_trace.is_open()) {
    return true;
  }
  m_transcript.WriteTo(nullptr);
  m_trace.close();
  return m_trace.good() && GiveName(TracePart(), m_strTracePath, m_bForceTrace);
}

}  // namespace host
