#include "RealTimeServer.h"

#include <poll.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <sstream>

#include "../common/SampleName.h"

namespace serving {

namespace {

using simulator::Time;

// Bytes of a stream are due every 87 µs; handing them over in blocks of a millisecond is what an adapter does too.
constexpr Time BlockTime = 1000;
// The holder's switches chatter for less than this after a change.
constexpr Time ChatterTime = 100'000;
constexpr Time PinInterval = 1000;
// Bytes that nobody reads are lost, as on a line without a listener.
constexpr std::size_t OutputLimit = 65536;

std::uint64_t Monotonic() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

}  // namespace

RealTimeServer::RealTimeServer(simulator::Instrument& instrument, PseudoTerminal& line, BoardFolder& folder,
                               double dSpeed)
    : m_instrument(instrument), m_line(line), m_folder(folder), m_dSpeed(dSpeed), m_nStart(Monotonic()) {}

Time RealTimeServer::Now() const { return static_cast<Time>(static_cast<double>(Monotonic() - m_nStart) * m_dSpeed); }

void RealTimeServer::Insert(int iSize, const simulator::Sample& sample, Time at) {
  m_instrument.InsertCuvette(iSize, sample, at);
  WatchPins(at);
}

void RealTimeServer::Remove(Time at) {
  m_instrument.RemoveCuvette(at);
  WatchPins(at);
}

void RealTimeServer::WatchPins(Time from) {
  m_nNextPins = from;
  m_nPinsUntil = from + ChatterTime;
}

void RealTimeServer::Serve(const StopSignals& signals) {
  while (!signals.HaveCome() && !m_bQuit) {
    Wait(NextActivity(), signals.Unblocked());
    Step(Now());
  }
}

Time RealTimeServer::NextActivity() const {
  const Time next = m_instrument.unit.NextActivity();
  return std::min(next == simulator::Never ? next : next + BlockTime, m_nNextPins);
}

void RealTimeServer::Wait(Time until, const sigset_t& unblocked) {
  std::array<pollfd, 2> watched{};
  watched[0] = {m_line.Descriptor(), static_cast<short>(m_strOutput.empty() ? POLLIN : POLLIN | POLLOUT), 0};
  watched[1] = {m_iCommands, POLLIN, 0};  // a negative descriptor is passed over
  const Time now = Now();
  const double dMicroseconds = until > now ? static_cast<double>(until - now) / m_dSpeed : 0.0;
  timespec timeout{};
  timeout.tv_sec = static_cast<time_t>(dMicroseconds / 1e6);
  timeout.tv_nsec = static_cast<long>((dMicroseconds - static_cast<double>(timeout.tv_sec) * 1e6) * 1e3);
  const bool bForEver = until == simulator::Never;
  ppoll(watched.data(), watched.size(), bForEver ? nullptr : &timeout, &unblocked);
  m_bCommandsReady = (watched[1].revents & (POLLIN | POLLHUP)) != 0;
}

void RealTimeServer::Step(Time now) {
  // Output first: what was complete before these bytes came must not be judged after them.
  PassOutput(now);
  if (const std::string bytes = m_line.Read(); !bytes.empty()) {
    m_instrument.unit.Receive(now, bytes);
  }
  if (m_bCommandsReady) {
    TakeCommands(now);
  }
  WritePins(now);
}

void RealTimeServer::PassOutput(Time now) {
  m_strOutput += m_instrument.unit.TakeOutput(now);
  if (m_strOutput.empty()) {
    return;
  }
  m_strOutput.erase(0, m_line.Write(m_strOutput));
  if (m_strOutput.size() > OutputLimit) {
    m_strOutput.clear();
  }
}

void RealTimeServer::WritePins(Time now) {
  if (now < m_nNextPins) {
    return;
  }
  for (std::uint32_t i = 0; i < m_Levels.size(); ++i) {
    const std::uint32_t dwPin = simulator::CuvetteHolder::FirstPin + i;
    const std::uint32_t dwLevel = m_instrument.holder.ReadPin(now, dwPin);
    if (dwLevel != m_Levels[i]) {
      m_folder.WritePin(dwPin, dwLevel);
      m_Levels[i] = dwLevel;
    }
  }
  m_nNextPins = now < m_nPinsUntil ? now + PinInterval : simulator::Never;
}

void RealTimeServer::TakeCommands(Time now) {
  std::array<char, 512> buffer{};
  const ssize_t nRead = read(m_iCommands, buffer.data(), buffer.size());
  if (nRead <= 0) {
    m_iCommands = -1;
    return;
  }
  m_strCommands.append(buffer.data(), static_cast<std::size_t>(nRead));
  for (std::size_t nEnd = 0; (nEnd = m_strCommands.find('\n')) != std::string::npos;) {
    Command(m_strCommands.substr(0, nEnd), now);
    m_strCommands.erase(0, nEnd + 1);
  }
}

void RealTimeServer::Command(const std::string& line, Time now) {
  std::istringstream words(line);
  std::string verb;
  words >> verb;
  if (verb == "insert") {
    std::string name;
    int iSize = 10;
    words >> name >> iSize;
    const auto sample = name.empty() ? std::optional(m_sample) : common::FindSample(name, now);
    if (!sample) {
      std::cerr << "there is no sample \"" << name << "\"; the samples are " << common::SampleNames << "\n";
      return;
    }
    Insert(name.empty() ? 10 : iSize, *sample, now);
  } else if (verb == "remove") {
    Remove(now);
  } else if (verb == "quit") {
    m_bQuit = true;
  } else if (!verb.empty()) {
    std::cerr << "there is no command \"" << verb << "\"; the commands are insert [NAME [SIZE]], remove, quit\n";
  }
}

}  // namespace serving
