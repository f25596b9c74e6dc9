#include "ReplayBoard.h"

#include <algorithm>
#include <map>

#include "CueSheet.h"
#include "LampCounters.h"
#include "RecordedPort.h"
#include "SimulatedInstrument.h"
#include "platform/Forwarding.h"
#include "platform/Platform.h"
#include "platform/Sanitizers.h"
#include "platform/virtual/FirstComePolicy.h"
#include "platform/virtual/VirtualBoard.h"

namespace host {

namespace layer = photometer::platform;

namespace {

using layer::HANDLE;
using photometer::DWORD;

// The replay is as fast as the recorded run or faster, so that this is far beyond every wait of the host's, µs.
constexpr simulator::Time LongestAfterEnd = 600'000'000;
// Between two looks at whether a person has ended the replay, and at bytes that something follows, in virtual time, ms.
constexpr DWORD LongestSleep = 1000;
constexpr DWORD SleepForBytes = 10;
// By how much a recorded run is behind the replay between two commands, ms.
constexpr DWORD MostAhead = 10'000;

/// First come, first served, and every block as the trace has it, without a FIFO in between.
class RecordedBlocks final : public layer::SchedulingPolicy {
 public:
  std::size_t AtPoint(const layer::VirtualThread& running, std::span<layer::VirtualThread* const> ready) override {
    return m_firstCome.AtPoint(running, ready);
  }
  std::size_t AtWait(const layer::VirtualThread& running, std::span<layer::VirtualThread* const> ready) override {
    return m_firstCome.AtWait(running, ready);
  }
  std::size_t ChooseWaiter(const layer::VirtualThread& running,
                           std::span<layer::VirtualThread* const> waiters) override {
    return m_firstCome.ChooseWaiter(running, waiters);
  }
  std::size_t BlockBytes(DWORD /*dwPort*/, std::uint64_t /*nBlock*/) override { return 1; }

 private:
  layer::FirstComePolicy m_firstCome;
};

layer::VirtualBoardOptions BoardSettings(const TraceHead& head) {
  layer::VirtualBoardOptions settings;
  settings.pPolicy = std::make_shared<RecordedBlocks>();
  settings.startTick = head.dwTick;
  settings.startTime = head.time;
  return settings;
}

/// What ends a run that has left the trace, and passes on a person's recorded requests.
class Director {
 public:
  Director(const Trace& trace, CueSheet& cues, Interrupt& run, const Interrupt& person)
      : m_cues(cues), m_run(run), m_person(person) {
    simulator::Time nLast = 0;
    for (const TraceLine& line : trace.Lines()) {
      nLast = std::max(nLast, line.nMicroseconds);
    }
    m_nEnd = nLast - trace.Lines().front().nMicroseconds + (trace.IsComplete() ? LongestAfterEnd : 0);
  }

  void Stop() {
    m_bOver = true;
    // The second request switches the instrument off without waiting for the run.
    while (m_run.Count() < 2) {
      m_run.Raise();
    }
  }

  /// It was stopped.
  [[nodiscard]] bool IsOver() const { return m_bOver; }

  /// Time has passed.
  void Look(simulator::Time now) {
    const layer::UnobservedScope scope;
    for (int iDue = m_cues.TakeRequests(now); iDue > 0; --iDue) {
      m_run.Raise();
    }
    if (now > m_nEnd || m_person.Count() > 0) {
      Stop();
    }
  }

 private:
  CueSheet& m_cues;
  Interrupt& m_run;
  const Interrupt& m_person;
  simulator::Time m_nEnd = 0;
  bool m_bOver = false;
};

class ReplayKernel final : public layer::ForwardingKernel {
 public:
  ReplayKernel(layer::Kernel& target, Director& director) : ForwardingKernel(target), m_director(director) {}

  DWORD WaitForMultipleObjects(std::span<const HANDLE> handles, DWORD dwMilliseconds) override {
    const DWORD dwResult = m_target.WaitForMultipleObjects(handles, dwMilliseconds);
    m_director.Look(m_target.GetMicroseconds());
    return dwResult;
  }

 private:
  Director& m_director;
};

class ReplayPorts final : public layer::ForwardingSerialPorts {
 public:
  ReplayPorts(layer::VirtualBoard& board, const Trace& trace, const std::vector<std::string>& ports, CueSheet& cues,
              Director& director)
      : ForwardingSerialPorts(board.GetSerialPorts()), m_board(board), m_cues(cues), m_director(director) {
    for (const std::string& port : ports) {
      const std::u16string name = layer::FromUtf8(port + ":");
      const auto [entry, bNew] = m_ports.try_emplace(name, trace, port);
      if (bNew) {
        board.PlugPort(name, entry->second, true);
      }
    }
  }

  HANDLE Open(const std::u16string& name) override {
    const layer::UnobservedScope scope;
    const HANDLE handle = m_target.Open(name);
    if (handle != layer::INVALID_HANDLE_VALUE) {
      m_open[handle] = &m_ports.at(name);
      m_open[handle]->SetOpen(true);
    }
    return handle;
  }

  bool Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) override {
    const layer::UnobservedScope scope;
    const auto open = m_open.find(handle);
    if (open != m_open.end()) {
      Play(*open->second, {static_cast<const char*>(pBuffer), dwBytes});
    }
    return m_target.Write(handle, pBuffer, dwBytes, pBytesWritten);
  }

  bool Close(HANDLE handle) override {
    const layer::UnobservedScope scope;
    if (const auto open = m_open.find(handle); open != m_open.end()) {
      open->second->SetOpen(false);
      m_open.erase(open);
    }
    return m_target.Close(handle);
  }

 private:
  void Play(RecordedPort& port, std::string_view bytes) {
    // The replay may be faster than the recorded run; what came before stays before.
    for (DWORD dwSlept = 0; port.IsAheadOfTime(bytes) && dwSlept < MostAhead; ++dwSlept) {
      m_board.GetKernel().Sleep(1);
    }
    const auto line = port.TakeWrite(m_board.Now(), bytes);
    line ? m_cues.Reach(*line, m_board.Now()) : m_director.Stop();
  }

  layer::VirtualBoard& m_board;
  CueSheet& m_cues;
  Director& m_director;
  std::map<std::u16string, RecordedPort> m_ports;
  std::map<HANDLE, RecordedPort*> m_open;
};

}  // namespace

struct ReplayBoard::Parts {
  Parts(const Trace& trace, const TraceHead& head, Interrupt& run, const Interrupt& person)
      : cues(trace),
        director(trace, cues, run, person),
        board(BoardSettings(head)),
        kernel(board.GetKernel(), director),
        ports(board, trace, head.ports, cues, director) {
    if (cues.HasPins()) {
      board.PlugPins(&cues);
    }
    MakeInstrumentFolders(board);
    for (const auto& [name, dwValue] : head.registry) {
      board.SetRegistryValue(LampCounterKey, layer::FromUtf8(name), dwValue);
    }
  }

  CueSheet cues;
  Director director;
  layer::Transcript transcript;
  layer::VirtualBoard board;
  ReplayKernel kernel;
  ReplayPorts ports;
};

ReplayBoard::ReplayBoard(const Trace& trace, const TraceHead& head, Interrupt& run, const Interrupt& person)
    : m_pParts(std::make_unique<Parts>(trace, head, run, person)) {}
ReplayBoard::~ReplayBoard() = default;

layer::Kernel& ReplayBoard::GetKernel() { return m_pParts->kernel; }
layer::SerialPorts& ReplayBoard::GetSerialPorts() { return m_pParts->ports; }
layer::Pins& ReplayBoard::GetPins() { return m_pParts->board.GetPins(); }
layer::Files& ReplayBoard::GetFiles() { return m_pParts->board.GetFiles(); }
layer::Registry& ReplayBoard::GetRegistry() { return m_pParts->board.GetRegistry(); }
layer::DebugOutput& ReplayBoard::GetDebugOutput() { return m_pParts->board.GetDebugOutput(); }

bool ReplayBoard::IsDue(std::size_t nLine) const {
  const std::optional<simulator::Time> due = m_pParts->cues.DueTime(nLine);
  return due && *due <= m_pParts->board.Now();
}

bool ReplayBoard::WaitFor(std::size_t nLine) {
  Director& director = m_pParts->director;
  const layer::VirtualBoard& board = m_pParts->board;
  while (!IsDue(nLine) && !director.IsOver()) {
    const std::optional<simulator::Time> due = m_pParts->cues.DueTime(nLine);
    const simulator::Time nRest = due ? (*due - board.Now()) / 1000 : SleepForBytes;
    m_pParts->kernel.Sleep(static_cast<DWORD>(std::clamp<simulator::Time>(nRest, 1, LongestSleep)));
    director.Look(board.Now());
  }
  return !director.IsOver();
}

layer::Transcript& ReplayBoard::Transcript() { return m_pParts->transcript; }

std::vector<std::string> ReplayBoard::Faults() const {
  std::vector<std::string> faults = m_pParts->board.Reports();
  for (const std::string& leftover : m_pParts->board.Leftovers()) {
    faults.push_back("left after the device was given back: " + leftover);
  }
  return faults;
}

}  // namespace host
