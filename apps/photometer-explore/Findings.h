/// The findings of an exploration: the first of each property is made small, written to a record and told in full, the
/// others are counted.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Exploration.h"

namespace explorer {

class Findings {
 public:
  /// Making one small takes at most so many runs; 0: it is kept as it was found.
  Findings(const ExplorationOptions& exploration, unsigned nShrinkRuns)
      : m_exploration(exploration), m_nShrinkRuns(nShrinkRuns) {}

  void Take(const Finding& finding);
  /// A record that was found in another way.
  void Take(Record record);
  /// How often each property was broken, to standard output.
  void Summarise() const;

 private:
  void Tell(Record record, std::vector<std::string> lines);

  const ExplorationOptions& m_exploration;
  unsigned m_nShrinkRuns;
  std::map<std::string, std::uint64_t> m_counts;
};

}  // namespace explorer
