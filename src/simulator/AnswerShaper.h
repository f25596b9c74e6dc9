/// Applies the planned faults of one command to the bytes of its answer, as they are sent.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/FaultPlan.h"

namespace simulator {

class AnswerShaper {
 public:
  struct Piece {
    Time delay;  ///< behind the moment at which the bytes would be sent, µs
    std::string strBytes;
  };

  explicit AnswerShaper(std::vector<Fault> faults = {}) : m_Faults(std::move(faults)) {}

  /// No fault: the bytes may be sent as they are.
  [[nodiscard]] bool IsClean() const { return m_Faults.empty(); }
  [[nodiscard]] bool Has(FaultKind kind) const { return Find(kind) != nullptr; }
  /// The first fault of a kind, or null.
  [[nodiscard]] const Fault* Find(FaultKind kind) const;
  /// The delays of all faults of a kind together.
  [[nodiscard]] Time Delay(FaultKind kind) const;
  /// The next bytes of the answer as they come out.
  std::vector<Piece> Shape(std::string_view bytes);
  /// What comes out behind the last byte of the answer.
  std::vector<Piece> Finish();

 private:
  [[nodiscard]] bool IsLost(std::size_t nIndex) const;
  [[nodiscard]] Time PauseBefore(std::size_t nIndex) const;

  std::vector<Fault> m_Faults;
  std::size_t m_nSent = 0;
  bool m_bReplaced = false;
};

}  // namespace simulator
