/// The stream of a scan: points of six bytes, and three bytes behind the last one that belong to it.
///
/// Bytes go in as they arrive, in blocks of any size; whole points come out, each once; the rest of a point waits for
/// its next bytes. The cost of a block is that of its own bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "optics/DetectorData.h"

namespace photometer {

class PointStream {
 public:
  /// Behind the last point.
  static constexpr std::size_t END_BYTES = 3;

  enum class Verdict {
    /// Points are still to come.
    Going,
    /// All points have come; the bytes behind them perhaps not yet (see `MissingEndBytes`).
    Complete,
    /// The unit answered "error".
    Error,
    /// More points than were asked for.
    TooMuch
  };

  explicit PointStream(DWORD dwExpected) : m_dwExpected(dwExpected) {}

  /// Judges what is there with the new bytes, and appends the whole points to `pPoints`. Of a block that is an error or
  /// too much, none. The verdict does not depend on how the bytes were split, but for points that it has given before.
  Verdict Take(std::string_view bytes, std::vector<Reading>* pPoints);

  [[nodiscard]] DWORD Received() const { return m_dwReceived; }
  /// All points have come, and exactly the bytes that belong behind them.
  [[nodiscard]] bool IsAtItsEnd() const { return m_dwReceived == m_dwExpected && m_strRest.size() == END_BYTES; }
  /// Bytes that wait to be judged, after `Take` gave `Error` or `TooMuch`.
  [[nodiscard]] std::size_t WaitingBytes() const { return m_strRest.size(); }
  /// All points have come: how many of the bytes behind them have not.
  [[nodiscard]] std::size_t MissingEndBytes() const { return END_BYTES - std::min(END_BYTES, m_strRest.size()); }

 private:
  /// The word may begin in one block and end in another, also where a point was decoded in between.
  bool HoldsError(std::string_view bytes);

  DWORD m_dwExpected;
  DWORD m_dwReceived = 0;
  std::string m_strRest;
  /// Last bytes of the blocks before, in which the word may begin.
  std::string m_strSearched;
};

}  // namespace photometer
