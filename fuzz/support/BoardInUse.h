/// A virtual board that is the layer's current one for as long as it lives.
#pragma once

#include "platform/Board.h"
#include "platform/virtual/VirtualBoard.h"
#include "support/Target.h"

namespace fuzz {

class BoardInUse {
 public:
  BoardInUse() : m_pBefore(photometer::platform::SetBoard(&m_Board)) {}
  ~BoardInUse() { photometer::platform::SetBoard(m_pBefore); }
  BoardInUse(const BoardInUse&) = delete;
  BoardInUse& operator=(const BoardInUse&) = delete;

  photometer::platform::VirtualBoard* operator->() { return &m_Board; }

  /// No rule of the board was broken, and no thread or handle is left.
  void RequireClean() const {
    for (const std::string& text : m_Board.Reports()) {
      Require(false, text);
    }
    for (const std::string& text : m_Board.Leftovers()) {
      Require(false, "left: " + text);
    }
  }

 private:
  photometer::platform::VirtualBoard m_Board;
  photometer::platform::Board* m_pBefore;
};

}  // namespace fuzz
