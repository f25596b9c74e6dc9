/// What happens to a simulated instrument while a command looks on: "10s:insert", "30s:unplug-pump".
#pragma once

#include <string>
#include <vector>

#include "SimulatedInstrument.h"

namespace host {

inline constexpr const char* HappeningNames = "insert[:SAMPLE], remove, key-a, key-b, unplug-pump, plug-pump, say:TEXT";

class Happenings {
 public:
  /// Plans one from `TIME:WHAT`. Returns what is wrong with the text, or with the instrument that has this pump; empty:
  /// planned.
  std::string Plan(const std::string& text, simulator::PumpKind pump);
  /// From now on the times count. `sample`: what is inserted when no other is named.
  void Begin(const SimulatedInstrument& instrument, const std::string& sample) {
    m_begin = instrument.Now();
    m_strSample = sample;
  }
  /// Lets happen what is due, in the order of its planning.
  void Step(SimulatedInstrument& instrument);

 private:
  struct Kind;
  struct Happening {
    simulator::Time after;
    const Kind* pKind;
    std::string strText;
    bool bDone;
  };

  static const Kind* Find(const std::string& name);

  std::vector<Happening> m_Planned;
  simulator::Time m_begin = 0;
  std::string m_strSample;
};

}  // namespace host
