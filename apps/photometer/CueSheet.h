/// When things beside the ports happen in a replay, pins, a person's requests and what was typed: so long after the
/// last bytes that the host had sent by then, or after the beginning, as in the trace. So they keep their place among
/// causes and effects when the replay is faster than the recorded run was.
///
/// Used by one thread.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include "Trace.h"
#include "simulator/SerialDevice.h"

namespace host {

class CueSheet final : public simulator::PinSource {
 public:
  /// The trace must outlive it.
  explicit CueSheet(const Trace& trace);

  /// The bytes of this line of the trace were sent now.
  void Reach(std::size_t nLine, simulator::Time now) { m_reached[nLine] = now; }
  /// The board had pins. A run that ended early has set its output, and read none.
  [[nodiscard]] bool HasPins() const { return m_bPins; }
  /// A pin has its first level from the beginning on.
  std::uint32_t ReadPin(simulator::Time now, std::uint32_t pin) override;
  /// Requests that have become due, each once.
  int TakeRequests(simulator::Time now);
  /// When this line of the program's own becomes due; nothing: that is not known yet.
  [[nodiscard]] std::optional<simulator::Time> DueTime(std::size_t nLine) const;

 private:
  struct Cue {
    /// Line of the bytes sent before; 0: the beginning.
    std::size_t nAfter;
    simulator::Time nDelay;
  };
  struct Level {
    Cue cue;
    std::uint32_t dwLevel;
  };
  struct Pin {
    std::vector<Level> levels;
    std::size_t nNow = 0;
  };

  [[nodiscard]] std::optional<simulator::Time> TimeOf(const Cue& cue) const;
  [[nodiscard]] bool IsDue(const Cue& cue, simulator::Time now) const;

  std::map<std::size_t, simulator::Time> m_reached;
  std::map<std::uint32_t, Pin> m_pins;
  bool m_bPins = false;
  /// By the line of the trace.
  std::map<std::size_t, Cue> m_lines;
  std::vector<Cue> m_requests;
  std::size_t m_nTaken = 0;
};

}  // namespace host
