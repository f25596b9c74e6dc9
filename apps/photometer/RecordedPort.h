/// The device at the far end of a port, as a trace recorded it: says what it said, each time so long after the host's
/// last bytes as it did then.
///
/// A device for the virtual board; used by its one thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Trace.h"
#include "simulator/SerialDevice.h"

namespace host {

class RecordedPort final : public simulator::SerialDevice {
 public:
  /// `port` is "COM2"; the trace must outlive it.
  RecordedPort(const Trace& trace, std::string_view port);

  /// While the host does not have the port open, the device waits with what it says.
  void SetOpen(bool bOpen) { m_bOpen = bOpen; }
  /// These bytes come next from the host in the trace, but the device has something to say before.
  [[nodiscard]] bool IsAheadOfTime(std::string_view bytes) const;
  /// The host sends bytes now. Their line in the trace; nothing when others came there, or none: then the device says
  /// nothing any more.
  std::optional<std::size_t> TakeWrite(simulator::Time now, std::string_view bytes);
  /// Nothing is left to be sent or said.
  [[nodiscard]] bool IsOver() const { return m_nNext == m_events.size(); }

  /// Nothing: `TakeWrite` has taken the bytes when they were written.
  void Receive(simulator::Time, std::string_view) override {}
  [[nodiscard]] simulator::Time NextActivity() const override;
  std::string TakeOutput(simulator::Time now) override;

 private:
  [[nodiscard]] const TraceLine* NextWrite() const;

  /// Of this port alone.
  std::vector<const TraceLine*> m_events;
  std::size_t m_nNext = 0;
  /// The host's last bytes, or the beginning: by the trace's clock, and by the board's.
  simulator::Time m_nRecorded;
  simulator::Time m_nReplayed = 0;
  bool m_bOpen = false;
};

}  // namespace host
