/// Makes a failing record small while it fails the same way: first without faults, then without operations, then
/// without thread switches.
#pragma once

#include <functional>

#include "Record.h"

namespace explorer {

class Shrinker {
 public:
  /// What a record breaks first, or nothing; in a process of its own.
  using Judge = std::function<std::string(const Record& record)>;

  /// `nMostRuns` bounds the time that it takes.
  Shrinker(Judge judge, unsigned nMostRuns) : m_judge(std::move(judge)), m_nRunsLeft(nMostRuns) {}

  Record Shrink(Record record);
  /// What was left out so far is told here, if anybody wants to know.
  void OnProgress(std::function<void(const Record&)> action) { m_onProgress = std::move(action); }

 private:
  bool StillFails(const Record& record);
  /// Leaves out as many entries of a list as it can, the larger parts first.
  template <typename List>
  void ShrinkList(Record* pRecord, List& (*select)(Record& record));
  bool TryWithout(Record* pRecord, const std::function<void(Record&)>& change);
  /// Shorter waits and simpler numbers.
  void SimplifySteps(Record* pRecord);

  Judge m_judge;
  unsigned m_nRunsLeft;
  std::function<void(const Record&)> m_onProgress;
};

}  // namespace explorer
