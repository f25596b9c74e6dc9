#include "Ledger.h"

#include <algorithm>
#include <bit>

#include "platform/Sanitizers.h"

namespace explorer {

using photometer::platform::UnobservedScope;

void Ledger::Keep(Event event) {
  Mix(static_cast<std::uint64_t>(event.kind));
  for (const char character : event.name) {
    Mix(static_cast<unsigned char>(character));
  }
  for (const std::int64_t n : {static_cast<std::int64_t>(event.nTime), event.a, event.b, event.c}) {
    Mix(static_cast<std::uint64_t>(n));
  }
  m_events.push_back(std::move(event));
}

void Ledger::Note(EventKind kind, std::string_view name, std::int64_t a, std::int64_t b, std::int64_t c) {
  const UnobservedScope scope;
  Keep({kind, Now(), m_board.Points(), CurrentThread(), std::string(name), a, b, c});
}

void Ledger::NoteThread(DWORD dwThread, std::string_view name) {
  const UnobservedScope scope;
  const std::vector<std::int64_t>& open = m_openCalls[CurrentThread()];
  Keep({EventKind::ThreadBegins, Now(), m_board.Points(), dwThread, std::string(name),
        open.empty() ? NoCall : open.back()});
}

void Ledger::NoteResult(DWORD dwRequestId, const photometer::MeasureValues& values) {
  Note(EventKind::Result, "OnResult", dwRequestId, static_cast<std::int64_t>(m_values.size()),
       static_cast<std::int64_t>(values.size()));
  const UnobservedScope scope;
  for (const photometer::MeasureValue& value : values) {
    for (const double d : {value.dWavelength, value.dValue, value.dValueRef, value.dTurbidity}) {
      Mix(std::bit_cast<std::uint64_t>(d));
    }
    m_values.push_back(value);
  }
}

std::size_t Ledger::Called(std::string_view callback) const {
  const UnobservedScope scope;
  return static_cast<std::size_t>(std::ranges::count_if(m_events, [callback](const Event& event) {
    return event.kind == EventKind::Callback && event.name == callback;
  }));
}

void Ledger::ForbidCallbacks() {
  const UnobservedScope scope;
  m_bForbidden = true;
}

void Ledger::AllowCallbacks() {
  const UnobservedScope scope;
  m_bForbidden = false;
}

void Ledger::NoteViolation(std::string_view property, const std::string& text) {
  const UnobservedScope scope;
  m_violations.push_back({std::string(property), text});
}

std::int64_t Ledger::BeginCall(std::string_view name, bool bInCallback) {
  const UnobservedScope scope;
  const std::int64_t nCall = m_nCalls++;
  m_openCalls[CurrentThread()].push_back(nCall);
  Note(EventKind::CallBegins, name, nCall, bInCallback ? 1 : 0);
  return nCall;
}

void Ledger::EndCall(std::int64_t nCall, std::string_view name, std::int64_t nResult) {
  const UnobservedScope scope;
  m_openCalls[CurrentThread()].pop_back();
  Note(EventKind::CallEnds, name, nCall, nResult);
}

}  // namespace explorer
