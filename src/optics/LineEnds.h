/// Whether the line end behind an answer is still on its way: the "ok" counts as soon as it is there, and what follows
/// it would count as the first byte of a reading.
///
/// A unit that has never sent a line end is not waited for.
#pragma once

#include <string_view>

namespace photometer {

class LineEnds {
 public:
  /// Bytes have come from the unit.
  void Take(std::string_view bytes) {
    if (!bytes.empty()) {
      m_bAtEnd = bytes.back() == '\n';
      NoteEnd();
    }
  }
  /// All that has come so far ends an answer, but for the line end perhaps.
  void Answered() {
    m_bDue = true;
    NoteEnd();
  }
  /// It is known to be sent, and has not come yet.
  [[nodiscard]] bool IsDue() const { return m_bDue && m_bSent; }
  /// It is not waited for any longer.
  void GiveUp() { m_bDue = false; }

 private:
  void NoteEnd() {
    if (m_bDue && m_bAtEnd) {
      m_bDue = false;
      m_bSent = true;
    }
  }

  bool m_bAtEnd = false;
  bool m_bDue = false;
  bool m_bSent = false;
};

}  // namespace photometer
