/// A device at the optical port that answers by a script: for each command the pieces of its answer.
///
/// A command without a script is answered "ok\r\n". Several scripts for one command serve one after another, the last
/// one for good.
#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "simulator/SerialDevice.h"

namespace photometer::tests {

/// Bytes of an answer, so many microseconds after the piece before (the first: after the command).
struct Piece {
  simulator::Time delay;
  std::string bytes;
};
using Answer = std::vector<Piece>;

/// The unit's own time for an answer, µs.
inline constexpr simulator::Time ANSWER_TIME = 300;
inline constexpr simulator::Time SECOND = 1'000'000;

class ScriptedUnit final : public simulator::SerialDevice {
 public:
  /// `command` without its carriage return.
  void Script(const std::string& command, Answer answer) { m_Scripts[command].push_back(std::move(answer)); }
  void Script(const std::string& command, const std::string& bytes) { Script(command, Answer{{ANSWER_TIME, bytes}}); }
  void ForgetScripts() { m_Scripts.clear(); }
  /// Bytes that nobody asked for, `delay` after the next time that the unit is looked at.
  void Emit(simulator::Time delay, std::string bytes) { m_Unasked.push_back({delay, std::move(bytes)}); }
  /// Sends `nBytes` of garbage in blocks, one each millisecond, starting with the next call from the board.
  void Flood(std::uint64_t nBytes) { m_nFloodLeft = nBytes; }
  [[nodiscard]] bool IsFlooding() const { return m_nFloodLeft > 0; }

  /// Commands so far, without carriage returns.
  [[nodiscard]] const std::vector<std::string>& Commands() const { return m_Commands; }
  void Forget() { m_Commands.clear(); }

  void Receive(simulator::Time now, std::string_view bytes) override;
  [[nodiscard]] simulator::Time NextActivity() const override;
  std::string TakeOutput(simulator::Time now) override;

 private:
  void Accept(simulator::Time now, const std::string& command);

  std::map<std::string, std::vector<Answer>> m_Scripts;
  std::vector<Piece> m_Unasked;
  std::multimap<simulator::Time, std::string> m_Scheduled;
  std::vector<std::string> m_Commands;
  std::string m_strLine;
  std::atomic<std::uint64_t> m_nFloodLeft{0};
  simulator::Time m_NextFlood = 0;
};

}  // namespace photometer::tests
