#include "support/RecordingSink.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/Platform.h"

namespace photometer::tests {

using platform::FormatText;

namespace {

constexpr std::size_t TEXT_LIMIT = 100;

}  // namespace

void RecordingSink::On(const std::string& prefix, std::function<void()> action) {
  const std::lock_guard lock(m_Mutex);
  m_Actions[prefix] = std::move(action);
}

std::vector<std::string> RecordingSink::Faults() const {
  const std::lock_guard lock(m_Mutex);
  return m_Faults;
}

std::size_t RecordingSink::Count(const std::string& text) const {
  return static_cast<std::size_t>(std::ranges::count(Calls(), text));
}

MeasureValues RecordingSink::Results() const {
  const std::lock_guard lock(m_Mutex);
  return m_Results;
}

std::vector<WavelengthCalibrationEntry> RecordingSink::References() const {
  const std::lock_guard lock(m_Mutex);
  return m_References;
}

std::function<void()> RecordingSink::ActionFor(const std::string& text) const {
  const std::lock_guard lock(m_Mutex);
  for (const auto& [prefix, action] : m_Actions) {
    if (text.starts_with(prefix)) {
      return action;
    }
  }
  return nullptr;
}

void RecordingSink::NoteFault(const std::string& text) {
  const std::lock_guard lock(m_Mutex);
  m_Faults.push_back(text);
}

void RecordingSink::Enter(const std::string& text) {
  if (m_bForbidden) {
    NoteFault("began although forbidden: " + text);
  }
  if (++m_iInside > 1) {
    NoteFault("overlaps another callback: " + text);
  }
  m_Transcript.Note(m_Board.GetKernel().GetMicroseconds(), "sink", text);
  const std::function<void()> action = ActionFor(text);
  if (action) {
    try {
      action();
    } catch (...) {
      --m_iInside;
      throw;
    }
  }
  --m_iInside;
}

void RecordingSink::OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) {
  Enter(FormatText(TEXT_LIMIT, "OnNotify(%u, %u, %u)", dwRequestId, dwCode, dwValue));
}

void RecordingSink::OnResult(DWORD dwRequestId, const MeasureValues* pValues) {
  {
    const std::lock_guard lock(m_Mutex);
    m_Results.insert(m_Results.end(), pValues->begin(), pValues->end());
  }
  Enter(FormatText(TEXT_LIMIT, "OnResult(%u, %zu)", dwRequestId, pValues->size()));
}

void RecordingSink::OnCuvetteChanged(LONG iCuvetteSize) {
  Enter(FormatText(TEXT_LIMIT, "OnCuvetteChanged(%d)", iCuvetteSize));
}

void RecordingSink::OnError(DWORD dwRequestId, DWORD dwError) {
  Enter(FormatText(TEXT_LIMIT, "OnError(%u, %u)", dwRequestId, dwError));
}

void RecordingSink::OnReferenceValues(const std::vector<WavelengthCalibrationEntry>* pValues) {
  {
    const std::lock_guard lock(m_Mutex);
    m_References = *pValues;
  }
  Enter(FormatText(TEXT_LIMIT, "OnReferenceValues(%zu)", pValues->size()));
}

void RecordingSink::OnSystemCheckStatus(const SystemCheckStatus* pStatus) {
  constexpr std::size_t FIRST_STATE = 9;
  std::array<DWORD, sizeof(SystemCheckStatus) / sizeof(DWORD)> words{};
  std::memcpy(words.data(), pStatus, sizeof(SystemCheckStatus));
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    text += (i == 0 ? "" : i == FIRST_STATE ? "  " : " ") + std::to_string(words[i]);
  }
  Enter("OnSystemCheckStatus(" + text + ")");
}

void RecordingSink::OnLampSwitching(BOOL bSwitching) {
  Enter(FormatText(TEXT_LIMIT, "OnLampSwitching(%d)", bSwitching));
}

void RecordingSink::OnWarmUpCountdown(DWORD dwSeconds) {
  Enter(FormatText(TEXT_LIMIT, "OnWarmUpCountdown(%u)", dwSeconds));
}

DWORD RecordingSink::QueryCuvetteWait() {
  Enter("QueryCuvetteWait()");
  return m_bSkipsCuvetteWait ? 1 : 0;
}

}  // namespace photometer::tests
