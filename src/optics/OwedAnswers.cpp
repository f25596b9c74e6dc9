#include "optics/OwedAnswers.h"

#include <algorithm>
#include <array>

#include "platform/Platform.h"

namespace photometer {

namespace {

/// How long the unit may take for a command that moves no monochromator, ms: behind others in its queue, and with a
/// mirror that turns.
constexpr DWORD ANSWER_LIMIT = 10'000;
/// The same where the monochromator moves, ms: at its slowest speed it takes almost a minute for a long way.
constexpr DWORD MOTION_LIMIT = 60'000;
/// More commands than the host has reason to write at once: those beyond keep the line busy anyway.
constexpr std::size_t MOST_OWED = 1000;

constexpr std::size_t A_WORD = 0;
constexpr char SCAN = 's';

/// Commands whose answers are no word, or take long.
struct AnswerRule {
  char letter;
  /// Bytes of the answer. Of a scan's stream the first one: from then on the line is busy.
  std::size_t nBytes;
  DWORD dwLimit;
};
constexpr std::array<AnswerRule, 5> RULES{{{'a', 18, ANSWER_LIMIT},
                                           {'t', 96, ANSWER_LIMIT},
                                           {SCAN, 1, MOTION_LIMIT},
                                           {'z', A_WORD, MOTION_LIMIT},
                                           {'M', A_WORD, MOTION_LIMIT}}};
/// All others of the set.
constexpr std::string_view ANSWERED_BY_A_WORD = "FoHgirhdAS fTGv";

constexpr std::string_view OK = "ok";
constexpr std::string_view ERROR_WORD = "error";

/// Behind the answer at the front of `text`; 0: it is not complete. The same however the line splits it: an error
/// counts also when what follows it makes up the bytes of a reading.
std::size_t EndOfAnswer(std::string_view text, std::size_t nBytes) {
  const bool bWord = nBytes == A_WORD;
  const std::size_t nError = text.substr(0, bWord ? text.size() : nBytes).find(ERROR_WORD);
  const std::size_t nOk = bWord ? text.find(OK) : std::string_view::npos;
  if (nOk < nError) {
    return nOk + OK.size();
  }
  if (nError != std::string_view::npos) {
    return nError + ERROR_WORD.size();
  }
  return !bWord && text.size() >= nBytes ? nBytes : 0;
}

}  // namespace

bool OwedAnswers::Note(std::string_view written) {
  bool bStream = false;
  for (const char byte : written) {
    if (byte == '$') {
      m_bInCommand = true;
      m_Letter = 0;
    } else if (m_bInCommand && byte == '\r') {
      m_bInCommand = false;
      bStream = bStream || m_Letter == SCAN;
      OweAnswerTo(m_Letter);
    } else if (m_bInCommand && m_Letter == 0) {
      m_Letter = byte;
    }
  }
  return bStream;
}

void OwedAnswers::OweAnswerTo(char letter) {
  if (const auto rule = std::ranges::find(RULES, letter, &AnswerRule::letter); rule != RULES.end()) {
    Owe(rule->nBytes, rule->dwLimit);
  } else if (ANSWERED_BY_A_WORD.find(letter) != std::string_view::npos) {
    Owe(A_WORD, ANSWER_LIMIT);
  }
}

void OwedAnswers::TakeBack(std::size_t nAnswers) {
  m_Owed.resize(m_Owed.size() - std::min(nAnswers, m_Owed.size()));
  if (m_Owed.empty()) {
    m_strReceived.clear();
  }
}

void OwedAnswers::NoteBytes(std::size_t nBytes) { Owe(nBytes, ANSWER_LIMIT); }

void OwedAnswers::Owe(std::size_t nBytes, DWORD dwLimit) {
  if (m_Owed.size() >= MOST_OWED) {
    return;
  }
  if (m_Owed.empty()) {
    m_dwTick = platform::GetTickCount();
    m_dwLimit = 0;
  }
  m_Owed.push_back(nBytes);
  m_dwLimit = std::max(m_dwLimit, dwLimit);
}

void OwedAnswers::Take(std::string_view received) {
  if (m_Owed.empty()) {
    return;
  }
  m_strReceived += received;
  for (std::size_t nEnd = 0; !m_Owed.empty() && (nEnd = EndOfAnswer(m_strReceived, m_Owed.front())) != 0;) {
    m_strReceived.erase(0, nEnd);
    m_Owed.pop_front();
    m_dwTick = platform::GetTickCount();
  }
  if (m_Owed.empty()) {
    m_strReceived.clear();
  } else if (m_Owed.front() == A_WORD) {
    // What has been searched is forgotten, but for the beginning of a word.
    m_strReceived.erase(0, m_strReceived.size() - std::min(m_strReceived.size(), ERROR_WORD.size() - 1));
  }
}

void OwedAnswers::Forget() {
  m_Owed.clear();
  m_strReceived.clear();
}

DWORD OwedAnswers::Rest() const {
  const DWORD dwElapsed = platform::GetTickCount() - m_dwTick;
  return !m_Owed.empty() && dwElapsed < m_dwLimit ? m_dwLimit - dwElapsed : 0;
}

}  // namespace photometer
