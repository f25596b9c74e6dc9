/// The serial line of a sipper pump: frames of STX, text, ETX in both directions at 19200 baud, faults, and bytes
/// without end.
///
/// Each command may be befallen by planned faults, by the letter that the pump gives it: `Silence` (not carried out),
/// `SilentExecution`, `Late`, `Garbage`, `Split`, `Surplus`, `Lost`, `StaleBefore` as on the optical unit's line;
/// `Error`, with the fault's number in `count`, is the pump's own to answer. The faults of streams do nothing here.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/AnswerShaper.h"
#include "simulator/ByteFlood.h"
#include "simulator/FaultPlan.h"
#include "simulator/LinePacer.h"
#include "simulator/SerialDevice.h"

namespace simulator {

/// A frame that has arrived.
struct ReceivedFrame {
  Time time;
  std::string strText;
};

class SipperLine {
 public:
  SipperLine() : m_Pacer(BaudRate) {}

  /// The texts of the frames that these bytes complete. Bytes outside of frames are ignored.
  std::vector<std::string> TakeFrames(Time now, std::string_view bytes);
  /// Sends a frame from `at` on, or behind one that has a pause then, as the shaper's faults have it.
  void SendFrame(Time at, std::string_view text, AnswerShaper& shaper);
  void SendFrame(Time at, std::string_view text);
  /// Sends bytes as they are.
  void SendBytes(Time at, std::string bytes) { m_Scheduled.emplace(at, std::move(bytes)); }
  /// Forgets what has not been sent and half a frame that has come.
  void Clear();

  [[nodiscard]] Time NextActivity() const;
  /// The bytes complete up to `now`.
  std::string TakeOutput(Time now);

  [[nodiscard]] FaultPlan& Faults() { return m_Faults; }
  [[nodiscard]] ByteFlood& Flood() { return m_Flood; }
  /// Every frame so far, for tests.
  [[nodiscard]] const std::vector<ReceivedFrame>& Received() const { return m_Received; }

 private:
  static constexpr std::uint32_t BaudRate = 19200;

  LinePacer m_Pacer;
  FaultPlan m_Faults;
  ByteFlood m_Flood;
  std::multimap<Time, std::string> m_Scheduled;
  /// The last frame that is sent in pieces: no other one comes in between.
  Time m_SplitFrom = 0;
  Time m_SplitUntil = 0;
  std::vector<ReceivedFrame> m_Received;
  std::string m_strFrame;
  bool m_bInFrame = false;
};

}  // namespace simulator
