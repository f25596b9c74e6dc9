/// Faults of the optical unit's line, planned by the commands that they befall.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "simulator/SerialDevice.h"

namespace simulator {

enum class FaultKind {
  Silence,          ///< not carried out, no answer
  SilentExecution,  ///< carried out, no answer
  Late,             ///< everything `delay` later
  Error,            ///< not carried out, answered "error"
  Garbage,          ///< carried out, `bytes` in place of the answer
  Split,            ///< a pause of `delay` in the answer, behind `count` bytes
  Surplus,          ///< `bytes` behind the answer
  Lost,             ///< `count` bytes missing, from byte number `first`
  StaleBefore,      ///< `bytes` as soon as the command has arrived, before its answer
  NoTrailer,        ///< stream: the three bytes behind the last point do not come
  LateTrailer,      ///< stream: they come `delay` later
  SurplusPoints,    ///< stream: `count` readings too many, before the trailing bytes
  StopAfter         ///< stream: ends behind `count` points, without trailing bytes
};

struct Fault {
  FaultKind kind = FaultKind::Silence;
  /// The letter of the command; 0: any command.
  char letter = 0;
  /// The how-manieth of these commands, from 1; 0: each of them.
  std::uint32_t nth = 0;
  Time delay = 0;  ///< µs
  std::size_t count = 0;
  std::size_t first = 0;
  std::string bytes = {};
};

class FaultPlan {
 public:
  void Add(Fault fault);
  void Clear();
  /// Counts a command and returns the faults that befall it, in the order in which they were added.
  std::vector<Fault> Take(char letter);
  [[nodiscard]] const std::vector<Fault>& Faults() const { return m_Faults; }

 private:
  std::vector<Fault> m_Faults;
  std::vector<std::uint32_t> m_Counts;  ///< of each fault: commands of its letter so far
};

}  // namespace simulator
