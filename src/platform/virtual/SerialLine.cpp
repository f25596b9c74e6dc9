#include "platform/virtual/SerialLine.h"

#include <algorithm>
#include <utility>

#include "platform/LineFormat.h"
#include "platform/virtual/VirtualClock.h"
#include "platform/virtual/VirtualThread.h"

namespace photometer::platform {

namespace {

constexpr std::size_t QueueBytes = 1024UL * 1024;
/// The idle time after which the FIFO gives up what it has.
constexpr std::uint64_t IdleCharacters = 4;
constexpr DWORD PowerOnBaudRate = 9600;
constexpr std::uint64_t MicrosecondsPerSecond = 1'000'000;

}  // namespace

SerialLine::SerialLine(std::string name, DWORD dwPort, SchedulingPolicy& policy)
    : m_strName(std::move(name)), m_dwPort(dwPort), m_policy(policy) {}

void SerialLine::Plug(simulator::SerialDevice* pDevice, bool bAtOnce) {
  m_pDevice = pDevice;
  m_bAtOnce = bAtOnce;
  m_nServed = NeverServed;
}

void SerialLine::Open(std::uint64_t nNow) {
  // What the device has sent up to now was for nobody.
  Advance(nNow);
  m_bOpen = true;
  m_state = DCB{DCB_LENGTH, PowerOnBaudRate, 0, 8, NOPARITY, ONESTOPBIT};
  m_timeouts = COMMTIMEOUTS{};
  DiscardInput();
}

bool SerialLine::SetState(const DCB& state) {
  if (!IsPossible(state)) {
    return false;
  }
  m_state = state;
  return true;
}

std::uint64_t SerialLine::TimeOf(std::uint64_t nCharacters) const {
  const std::uint64_t nBaud = std::max<DWORD>(m_state.BaudRate, 1);
  return (nCharacters * BitsPerCharacter(m_state) * MicrosecondsPerSecond + nBaud - 1) / nBaud;
}

// ---- to the device ----

void SerialLine::Send(std::uint64_t nNow, std::string bytes) {
  const std::uint64_t nBegin = std::max(nNow, m_nLineFree);
  m_nLineFree = nBegin + TimeOf(bytes.size());
  m_outgoing.push_back({nBegin, m_nLineFree, std::move(bytes)});
}

void SerialLine::DiscardOutput(std::uint64_t nNow) {
  // The block on its way ends with the byte that is being sent.
  while (!m_outgoing.empty() && m_outgoing.back().nBegin > nNow) {
    m_outgoing.pop_back();
  }
  if (!m_outgoing.empty()) {
    Outgoing& last = m_outgoing.back();
    const std::uint64_t nSent = (nNow - last.nBegin) / std::max<std::uint64_t>(TimeOf(1), 1) + 1;
    last.bytes.resize(std::min<std::size_t>(last.bytes.size(), nSent));
    last.nEnd = std::min(last.nEnd, last.nBegin + TimeOf(last.bytes.size()));
  }
  m_nLineFree = m_outgoing.empty() ? nNow : m_outgoing.back().nEnd;
}

// ---- from the device ----

void SerialLine::DiscardInput() {
  m_fifo.clear();
  m_queue.clear();
  m_nTaken = 0;
}

std::uint64_t SerialLine::NextFromDevice() const {
  const std::uint64_t nNext = m_pDevice->NextActivity();
  // A device that always has something more to say, at this very moment, is heard once a character.
  if (m_nServed != NeverServed && nNext <= m_nServed) {
    return m_nServed + std::max<std::uint64_t>(TimeOf(1), 1);
  }
  return nNext;
}

std::uint64_t SerialLine::NextEvent() const {
  std::uint64_t nNext = m_outgoing.empty() ? NoDeadline : m_outgoing.front().nEnd;
  if (m_pDevice != nullptr) {
    nNext = std::min(nNext, NextFromDevice());
  }
  if (!m_fifo.empty()) {
    nNext = std::min(nNext, m_nLastByte + TimeOf(IdleCharacters));
  }
  return nNext;
}

bool SerialLine::Advance(std::uint64_t nNow) {
  const std::uint64_t nLastByteBefore = m_nLastByte;
  const std::size_t nQueuedBefore = Queued();
  while (!m_outgoing.empty() && m_outgoing.front().nEnd <= nNow) {
    if (m_pDevice != nullptr) {
      TakeFromDevice(nNow);
      m_pDevice->Receive(nNow, m_outgoing.front().bytes);
      m_nServed = NeverServed;
    }
    m_outgoing.pop_front();
  }
  if (m_pDevice != nullptr && NextFromDevice() <= nNow) {
    TakeFromDevice(nNow);
    m_nServed = nNow;
  }
  if (!m_fifo.empty() && (m_fifo.size() >= m_nTriggerLevel || m_nLastByte + TimeOf(IdleCharacters) <= nNow)) {
    EmptyFifo();
  }
  return m_nLastByte != nLastByteBefore || Queued() != nQueuedBefore;
}

void SerialLine::TakeFromDevice(std::uint64_t nNow) {
  const std::string bytes = m_pDevice->TakeOutput(nNow);
  if (bytes.empty() || !m_bOpen) {
    return;
  }
  if (m_fifo.empty()) {
    m_nTriggerLevel = m_policy.BlockBytes(m_dwPort, ++m_nBlocks);
  }
  m_fifo += bytes;
  m_nLastByte = nNow;
}

void SerialLine::EmptyFifo() {
  m_queue += m_fifo;
  m_fifo.clear();
  if (Queued() > QueueBytes) {
    m_nDropped += Queued() - QueueBytes;
    m_nTaken = m_queue.size() - QueueBytes;
  }
  if (m_nTaken > QueueBytes) {
    m_queue.erase(0, m_nTaken);
    m_nTaken = 0;
  }
}

std::string SerialLine::Take(DWORD dwMost) {
  std::string bytes = m_queue.substr(m_nTaken, dwMost);
  m_nTaken += bytes.size();
  if (m_nTaken == m_queue.size()) {
    m_queue.clear();
    m_nTaken = 0;
  }
  return bytes;
}

// ---- when a read ends ----

bool SerialLine::EndsWithFirstBytes() const { return m_bAtOnce || m_timeouts.ReadIntervalTimeout == INFINITE; }

std::uint64_t SerialLine::IntervalEnd(const PendingRead& read) const {
  if (m_timeouts.ReadIntervalTimeout == 0 || Queued() == 0) {
    return NoDeadline;
  }
  return std::max(m_nLastByte, read.nStart) + m_timeouts.ReadIntervalTimeout * MicrosecondsPerMillisecond;
}

std::uint64_t SerialLine::TotalEnd(const PendingRead& read) const {
  const COMMTIMEOUTS& times = m_timeouts;
  // With an infinite interval the constant counts alone; without one a read returns what is there.
  if (times.ReadIntervalTimeout == INFINITE) {
    return read.nStart + times.ReadTotalTimeoutConstant * MicrosecondsPerMillisecond;
  }
  if (times.ReadTotalTimeoutMultiplier == 0 && times.ReadTotalTimeoutConstant == 0) {
    return NoDeadline;
  }
  const std::uint64_t nTotal =
      std::uint64_t{times.ReadTotalTimeoutMultiplier} * read.dwWanted + times.ReadTotalTimeoutConstant;
  return read.nStart + nTotal * MicrosecondsPerMillisecond;
}

std::uint64_t SerialLine::ReadDeadline(const PendingRead& read) const {
  const std::uint64_t nIntervalEnd = IntervalEnd(read);
  // After a first byte the interval rules, where there is one.
  return nIntervalEnd != NoDeadline ? nIntervalEnd : TotalEnd(read);
}

bool SerialLine::ReadEnds(const PendingRead& read, std::uint64_t nNow) const {
  if (Queued() >= read.dwWanted || (Queued() > 0 && EndsWithFirstBytes())) {
    return true;
  }
  return ReadDeadline(read) <= nNow;
}

}  // namespace photometer::platform
