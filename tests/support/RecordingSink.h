/// A host's sink that records every callback in the transcript (channel `sink`, as `OnNotify(0, 10, 0)`), keeps what it
/// is given, and watches over the rules: callbacks do not overlap, and none begins after `ForbidCallbacks`.
///
/// A test can script it: `On` lets a callback run an action, for example wait for an event or call an operation.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "photometer/EmptySink.h"
#include "platform/Board.h"
#include "platform/Transcript.h"

namespace photometer::tests {

class RecordingSink : public EmptySink {
 public:
  RecordingSink(platform::Board& board, platform::Transcript& transcript) : m_Board(board), m_Transcript(transcript) {}

  /// Runs `action` inside each callback whose text begins with `prefix`, longest prefix first.
  void On(const std::string& prefix, std::function<void()> action);
  /// No callback may begin from now on.
  void ForbidCallbacks() { m_bForbidden = true; }
  void AllowCallbacks() { m_bForbidden = false; }
  /// `QueryCuvetteWait` answers that the host does not want to wait.
  void SkipCuvetteWait() { m_bSkipsCuvetteWait = true; }

  /// What broke the rules.
  [[nodiscard]] std::vector<std::string> Faults() const;
  /// Texts of all callbacks so far.
  [[nodiscard]] std::vector<std::string> Calls() const { return m_Transcript.Texts("sink"); }
  [[nodiscard]] std::size_t Count(const std::string& text) const;
  [[nodiscard]] MeasureValues Results() const;
  [[nodiscard]] std::vector<WavelengthCalibrationEntry> References() const;

  void OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) override;
  void OnResult(DWORD dwRequestId, const MeasureValues* pValues) override;
  void OnCuvetteChanged(LONG iCuvetteSize) override;
  void OnError(DWORD dwRequestId, DWORD dwError) override;
  /// Records the thirteen words, the steps' states apart: "OnSystemCheckStatus(0 1 1 0 0 0 0 0 0  2 0 0 0)".
  void OnSystemCheckStatus(const SystemCheckStatus* pStatus) override;
  void OnReferenceValues(const std::vector<WavelengthCalibrationEntry>* pValues) override;
  void OnLampSwitching(BOOL bSwitching) override;
  void OnWarmUpCountdown(DWORD dwSeconds) override;
  DWORD QueryCuvetteWait() override;

 protected:
  /// What every callback does: notes the text, watches over the rules, runs the action.
  void Enter(const std::string& text);

 private:
  /// The action for a callback, or none.
  std::function<void()> ActionFor(const std::string& text) const;
  void NoteFault(const std::string& text);

  platform::Board& m_Board;
  platform::Transcript& m_Transcript;
  std::atomic<bool> m_bForbidden{false};
  std::atomic<bool> m_bSkipsCuvetteWait{false};
  std::atomic<int> m_iInside{0};
  // Guards what follows; never held across a call of the layer.
  mutable std::mutex m_Mutex;
  std::map<std::string, std::function<void()>, std::greater<>> m_Actions;
  std::vector<std::string> m_Faults;
  MeasureValues m_Results;
  std::vector<WavelengthCalibrationEntry> m_References;
};

}  // namespace photometer::tests
