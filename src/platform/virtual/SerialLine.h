/// One serial port of the virtual board and the device at its far end: bytes on the line, the receiver's FIFO, the
/// driver's queue, and when a read ends.
///
/// The line knows times, not threads. A byte written takes ten bit times on its way (at the format 8N1) and reaches the
/// device with the last byte of its block. A byte from the device goes into the FIFO; the FIFO is emptied into the
/// queue when it is as full as its trigger level says or the line has been idle for four characters. The queue holds 1
/// MiB; the oldest bytes give way and are counted.
#pragma once

#include <cstdint>
#include <deque>
#include <string>

#include "platform/Types.h"
#include "platform/virtual/SchedulingPolicy.h"
#include "simulator/SerialDevice.h"

namespace photometer::platform {

/// A read in progress.
struct PendingRead {
  DWORD dwWanted;
  /// When it began.
  std::uint64_t nStart;
};

class SerialLine {
 public:
  /// The policy, which must outlive it, is asked how many bytes the FIFO collects for each block of this port.
  SerialLine(std::string name, DWORD dwPort, SchedulingPolicy& policy);

  [[nodiscard]] const std::string& Name() const { return m_strName; }
  void Plug(simulator::SerialDevice* pDevice, bool bAtOnce);
  void Unplug() { m_pDevice = nullptr; }
  [[nodiscard]] bool IsPlugged() const { return m_pDevice != nullptr; }

  /// A port that is opened starts with an empty queue and the board's settings at power-on. While it is closed, what
  /// the device sends is lost.
  void Open(std::uint64_t nNow);
  void Close() { m_bOpen = false; }

  [[nodiscard]] const DCB& State() const { return m_state; }
  bool SetState(const DCB& state);
  void SetTimeouts(const COMMTIMEOUTS& timeouts) { m_timeouts = timeouts; }
  void DiscardOutput(std::uint64_t nNow);
  void DiscardInput();

  void Send(std::uint64_t nNow, std::string bytes);
  /// Takes what the queue holds, at most so many bytes.
  std::string Take(DWORD dwMost);
  [[nodiscard]] bool ReadEnds(const PendingRead& read, std::uint64_t nNow) const;
  /// When a read that has not ended ends if no byte comes.
  [[nodiscard]] std::uint64_t ReadDeadline(const PendingRead& read) const;

  [[nodiscard]] std::uint64_t NextEvent() const;
  /// Lets happen what is due. True: a read could end now, or its deadline has changed.
  bool Advance(std::uint64_t nNow);
  /// Bytes that the full queue lost.
  [[nodiscard]] std::uint64_t DroppedBytes() const { return m_nDropped; }

 private:
  struct Outgoing {
    std::uint64_t nBegin;
    std::uint64_t nEnd;
    std::string bytes;
  };

  [[nodiscard]] std::uint64_t TimeOf(std::uint64_t nCharacters) const;
  [[nodiscard]] std::size_t Queued() const { return m_queue.size() - m_nTaken; }
  [[nodiscard]] std::uint64_t NextFromDevice() const;
  [[nodiscard]] std::uint64_t IntervalEnd(const PendingRead& read) const;
  [[nodiscard]] std::uint64_t TotalEnd(const PendingRead& read) const;
  [[nodiscard]] bool EndsWithFirstBytes() const;
  void TakeFromDevice(std::uint64_t nNow);
  void EmptyFifo();

  std::string m_strName;
  DWORD m_dwPort;
  SchedulingPolicy& m_policy;
  std::uint64_t m_nBlocks = 0;
  simulator::SerialDevice* m_pDevice = nullptr;
  bool m_bAtOnce = false;
  bool m_bOpen = false;
  DCB m_state{};
  COMMTIMEOUTS m_timeouts{};

  std::deque<Outgoing> m_outgoing;
  std::uint64_t m_nLineFree = 0;
  std::uint64_t m_nServed = NeverServed;
  std::string m_fifo;
  std::size_t m_nTriggerLevel = 1;
  std::uint64_t m_nLastByte = 0;
  std::string m_queue;
  std::size_t m_nTaken = 0;
  std::uint64_t m_nDropped = 0;

  static constexpr std::uint64_t NeverServed = UINT64_MAX;
};

}  // namespace photometer::platform
