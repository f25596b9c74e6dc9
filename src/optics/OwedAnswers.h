/// The answers that raw writes have asked for and that are still to come. The unit answers its commands in their order,
/// so what comes while no exchange waits belongs to the oldest of them.
///
/// A command of the unit's set is owed its answer; other bytes are owed nothing. An answer that does not come in its
/// time is given up, with all others: a unit that is silent for so long answers none of them.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

#include "photometer/Types.h"

namespace photometer {

/// Guarded by the state lock, as a member of `OpticalLink`.
class OwedAnswers {
 public:
  /// Bytes that are about to be written without an exchange. A command may come in several pieces. True: one of them
  /// begins a stream, whose length nobody knows.
  bool Note(std::string_view written);
  /// The last so many answers are owed no longer: what asked for them was not written.
  void TakeBack(std::size_t nAnswers);
  /// So many bytes of an answer are still to come.
  void NoteBytes(std::size_t nBytes);
  /// Bytes that came while no exchange waited.
  void Take(std::string_view received);
  void Forget();

  /// How long the next answer may still take, ms. 0: none is owed, or it is given up.
  [[nodiscard]] DWORD Rest() const;
  [[nodiscard]] std::size_t Count() const { return m_Owed.size(); }

 private:
  void OweAnswerTo(char letter);
  void Owe(std::size_t nBytes, DWORD dwLimit);

  /// Of the answers that are owed: how many bytes they have, 0 for a word.
  std::deque<std::size_t> m_Owed;
  std::string m_strReceived;
  /// A command has been written in part.
  bool m_bInCommand = false;
  /// What stands behind its '$'. 0: nothing yet.
  char m_Letter = 0;
  /// When the last answer came, or the first command was written, and how long the next may take, ms.
  DWORD m_dwTick = 0;
  DWORD m_dwLimit = 0;
};

}  // namespace photometer
