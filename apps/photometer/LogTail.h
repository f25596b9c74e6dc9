/// What the device has written into its log since a moment: some ends are told nowhere else.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "photometer/Types.h"

namespace host {

class LogTail {
 public:
  /// From now on.
  LogTail();

  /// The last lines, each ended and indented; empty when there is no log.
  [[nodiscard]] std::string LastLines() const;
  /// The number of the pump cycle that failed, by the last line about one.
  [[nodiscard]] std::optional<photometer::LONG> PumpError() const;

 private:
  [[nodiscard]] std::string Text() const;

  std::size_t m_nStart;
};

}  // namespace host
