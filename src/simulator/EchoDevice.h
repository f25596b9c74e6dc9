/// A device on the external port that is no pump: it says back every byte that it is told, and speaks by itself when it
/// is made to. 19200 baud. One caller at a time.
#pragma once

#include <string>
#include <string_view>

#include "simulator/LinePacer.h"
#include "simulator/SerialDevice.h"

namespace simulator {

class EchoDevice final : public SerialDevice {
 public:
  void Receive(Time now, std::string_view bytes) override { m_Pacer.Send(now, bytes); }
  [[nodiscard]] Time NextActivity() const override { return m_Pacer.NextByte(); }
  std::string TakeOutput(Time now) override { return m_Pacer.Take(now); }

  /// Bytes that nobody asked for.
  void Say(Time now, std::string_view bytes) { m_Pacer.Send(now, bytes); }

 private:
  LinePacer m_Pacer{19200};
};

}  // namespace simulator
