/// The bytes that a port's reader hands to the waiting exchange of the same port: one buffer for each link.
///
/// Every consumer takes the whole content and empties the buffer in one step. The buffer is bounded: when nobody takes
/// the bytes, the newest are kept.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "state/DeviceState.h"

namespace photometer {

class ReceiveBuffer {
 public:
  /// More than the longest answer there is: 16,001 points of 6 bytes and 3.
  static constexpr std::size_t CAPACITY = std::size_t{256} * 1024;

  explicit ReceiveBuffer(DeviceState& state) : m_State(state) {}
  ~ReceiveBuffer() { CloseDataEvent(); }
  ReceiveBuffer(const ReceiveBuffer&) = delete;
  ReceiveBuffer& operator=(const ReceiveBuffer&) = delete;

  /// Creates the auto-reset event. False: it could not be created.
  BOOL CreateDataEvent();
  /// State lock: nobody signals or resets it meanwhile.
  void CloseDataEvent();
  /// 0: there is none.
  [[nodiscard]] HANDLE DataEvent() const { return m_hDataEvent; }

  /// Appends. True: bytes were dropped for the first time since the event was created. State lock.
  bool Append(std::string_view bytes);
  /// Wakes the waiting exchange. State lock.
  void Signal();
  /// Appends the whole content to `reply` and empties the buffer. State lock.
  void CollectReceived(std::string& reply);
  /// Forgets the content and resets the event: nothing that came before counts. State lock.
  void Clear();
  /// Bytes were dropped since the last `Clear`. State lock.
  bool Overflowed();

  // ---- for the pumps' ports, whose readers hand their bytes over only while an exchange waits for them ----

  /// An exchange takes the bytes from now on, or no longer. The record `PumpInfo` says whether any one does. State
  /// lock.
  void SetCapture(bool bCapture);
  [[nodiscard]] bool IsCapturing();

 private:
  DeviceState& m_State;
  std::atomic<HANDLE> m_hDataEvent{0};
  // Guarded by the state lock.
  std::string m_strReceived;
  bool m_bOverflowed = false;
  bool m_bDropReported = false;
  bool m_bCapture = false;
};

}  // namespace photometer
