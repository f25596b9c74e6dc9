#include "platform/virtual/RuleChecks.h"

#include <algorithm>

namespace photometer::platform {

namespace {

/// A run that breaks a rule again and again must not fill the memory.
constexpr std::size_t MostReports = 1000;
constexpr std::size_t MostClosedHandles = 4096;
constexpr const char* StateLock = "m_csState";

std::string Quoted(const std::string& text) { return '"' + text + '"'; }

}  // namespace

RuleChecks::RuleChecks(const VirtualClock& clock, std::vector<std::string> locksForHostCode)
    : m_clock(clock), m_locksForHostCode(std::move(locksForHostCode)) {}

void RuleChecks::Note(const std::string& text) {
  if (m_reports.size() >= MostReports || !m_known.insert(text).second) {
    return;
  }
  const std::size_t nFirstLine = std::min(text.find('\n'), text.size());
  m_reports.push_back(text.substr(0, nFirstLine) + ", at " + m_clock.Text() + text.substr(nFirstLine));
}

std::string RuleChecks::HeldWhileWaiting(const VirtualThread& thread) const {
  std::string held;
  for (const LockState* pLock : thread.held) {
    if (std::ranges::find(m_locksForHostCode, pLock->name) == m_locksForHostCode.end()) {
      held += (held.empty() ? "" : ", ") + pLock->name;
    }
  }
  return held;
}

void RuleChecks::WaitBegins(const VirtualThread& thread) {
  if (thread.held.empty()) {
    return;
  }
  const std::string held = HeldWhileWaiting(thread);
  if (!held.empty()) {
    Note("wait with a lock held: thread " + Quoted(thread.name) + " calls " + thread.call + " and holds " + held);
  }
}

void RuleChecks::StorageWriteBegins(const VirtualThread& thread, const std::string& what) {
  for (const LockState* pLock : thread.held) {
    if (pLock->name == StateLock) {
      Note("storage written with the state lock held: thread " + Quoted(thread.name) + " writes " + what +
           " and holds " + HeldText(thread));
    }
  }
}

void RuleChecks::LockRequested(const VirtualThread& thread, const LockState& lock) {
  for (const LockState* pHeld : thread.held) {
    if (!m_order.try_emplace({pHeld->nNumber, lock.nNumber}, thread.name).second) {
      continue;
    }
    m_lockNames[pHeld->nNumber] = pHeld->name;
    m_lockNames[lock.nNumber] = lock.name;
    const std::vector<unsigned> way = WayBetween(lock.nNumber, pHeld->nNumber);
    if (!way.empty()) {
      NoteCycle(thread, *pHeld, lock, way);
    }
  }
}

std::vector<unsigned> RuleChecks::WayBetween(unsigned nFrom, unsigned nTo) const {
  std::map<unsigned, unsigned> cameFrom;
  std::vector<unsigned> open{nFrom};
  while (!open.empty() && !cameFrom.contains(nTo)) {
    const unsigned nLock = open.back();
    open.pop_back();
    for (auto edge = m_order.lower_bound({nLock, 0}); edge != m_order.end() && edge->first.first == nLock; ++edge) {
      if (cameFrom.try_emplace(edge->first.second, nLock).second) {
        open.push_back(edge->first.second);
      }
    }
  }
  std::vector<unsigned> way;
  if (cameFrom.contains(nTo)) {
    for (unsigned nLock = nTo; nLock != nFrom; nLock = cameFrom.at(nLock)) {
      way.push_back(nLock);
    }
    way.push_back(nFrom);
    std::ranges::reverse(way);
  }
  return way;
}

void RuleChecks::NoteCycle(const VirtualThread& thread, const LockState& held, const LockState& lock,
                           const std::vector<unsigned>& way) {
  std::string text = "order of locks: thread " + Quoted(thread.name) + " takes " + lock.name + " and holds " +
                     held.name + "; the other way round before";
  for (std::size_t i = 0; i + 1 < way.size(); ++i) {
    text += "\n  " + Quoted(m_order.at({way[i], way[i + 1]})) + " took " + m_lockNames.at(way[i + 1]) + " and held " +
            m_lockNames.at(way[i]);
  }
  Note(text);
}

void RuleChecks::LockDestroyed(const LockState& lock) {
  if (lock.pOwner != nullptr) {
    Note("lock destroyed while owned: " + lock.name + ", owner " + Quoted(lock.pOwner->name));
  }
  std::erase_if(m_order, [&lock](const auto& edge) {
    return edge.first.first == lock.nNumber || edge.first.second == lock.nNumber;
  });
}

void RuleChecks::ThreadEnds(const VirtualThread& thread) {
  if (!thread.held.empty()) {
    Note("lock owned at a thread's end: thread " + Quoted(thread.name) + " holds " + HeldText(thread));
  }
}

void RuleChecks::HandleClosed(const VirtualThread& thread, HANDLE handle, const std::string& what) {
  if (m_closed.size() >= MostClosedHandles) {
    m_closed.erase(m_closed.begin());
  }
  m_closed.emplace(handle, what + ", closed by " + Quoted(thread.name));
}

void RuleChecks::BadHandle(const VirtualThread& thread, HANDLE handle) {
  if (handle == 0 || handle == INVALID_HANDLE_VALUE) {
    return;
  }
  const auto closed = m_closed.find(handle);
  if (closed == m_closed.end()) {
    Note("use of a foreign handle: thread " + Quoted(thread.name) + " calls " + thread.call);
    return;
  }
  Note("use of a closed handle: thread " + Quoted(thread.name) + " calls " + thread.call + " with " + closed->second);
}

}  // namespace photometer::platform
