/// A device at the end of a line that says what it was told at the times it was told, and keeps what it hears.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/SerialDevice.h"

namespace photometer::tests {

class ScriptedDevice final : public simulator::SerialDevice {
 public:
  /// Says the bytes at that time, each later than what it was told before by `nSpacing` microseconds.
  void Say(simulator::Time at, std::string_view bytes, simulator::Time nSpacing = 0) {
    for (const char cByte : bytes) {
      m_script.emplace_back(at, cByte);
      at += nSpacing;
    }
  }

  void Receive(simulator::Time now, std::string_view bytes) override { heard.emplace_back(now, bytes); }
  [[nodiscard]] simulator::Time NextActivity() const override {
    return m_script.empty() ? simulator::Never : m_script.front().first;
  }
  std::string TakeOutput(simulator::Time now) override {
    std::string bytes;
    for (; !m_script.empty() && m_script.front().first <= now; m_script.pop_front()) {
      bytes += m_script.front().second;
    }
    return bytes;
  }

  /// Each block with the time of its arrival.
  std::vector<std::pair<simulator::Time, std::string>> heard;

 private:
  std::deque<std::pair<simulator::Time, char>> m_script;
};

}  // namespace photometer::tests
