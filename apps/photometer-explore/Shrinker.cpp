#include "Shrinker.h"

#include <algorithm>

namespace explorer {

bool Shrinker::StillFails(const Record& record) {
  if (m_nRunsLeft == 0) {
    return false;
  }
  --m_nRunsLeft;
  return m_judge(record) == record.violation.property;
}

bool Shrinker::TryWithout(Record* pRecord, const std::function<void(Record&)>& change) {
  Record smaller = *pRecord;
  change(smaller);
  if (!StillFails(smaller)) {
    return false;
  }
  *pRecord = std::move(smaller);
  if (m_onProgress) {
    m_onProgress(*pRecord);
  }
  return true;
}

template <typename List>
void Shrinker::ShrinkList(Record* pRecord, List& (*select)(Record& record)) {
  for (std::size_t nPart = std::max<std::size_t>(select(*pRecord).size(), 1); nPart > 0; nPart /= 2) {
    for (std::size_t nStart = 0; nStart < select(*pRecord).size();) {
      const std::size_t nSize = select(*pRecord).size();
      const auto leaveOut = [=](Record& record) {
        List& list = select(record);
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(nStart),
                   list.begin() + static_cast<std::ptrdiff_t>(std::min(nStart + nPart, nSize)));
      };
      if (!TryWithout(pRecord, leaveOut)) {
        nStart += nPart;
      }
    }
  }
}

void Shrinker::SimplifySteps(Record* pRecord) {
  for (std::size_t i = 0; i < pRecord->plan.steps.size(); ++i) {
    if (pRecord->plan.steps[i].nWhen > 0 && pRecord->plan.steps[i].actor != Actor::Callback) {
      TryWithout(pRecord, [i](Record& record) { record.plan.steps[i].nWhen = 0; });
    }
  }
}

Record Shrinker::Shrink(Record record) {
  if (record.plan.bRecovery && record.violation.property != "recovery") {
    TryWithout(&record, [](Record& smaller) { smaller.plan.bRecovery = false; });
  }
  // Mostly no order of threads matters at all.
  TryWithout(&record, [](Record& smaller) { smaller.decisions.clear(); });
  for (std::size_t nBefore = 0; nBefore != record.plan.faults.size() + record.plan.steps.size();) {
    nBefore = record.plan.faults.size() + record.plan.steps.size();
    ShrinkList<std::vector<Clause>>(&record, [](Record& r) -> std::vector<Clause>& { return r.plan.faults; });
    ShrinkList<std::vector<Step>>(&record, [](Record& r) -> std::vector<Step>& { return r.plan.steps; });
  }
  SimplifySteps(&record);
  ShrinkList<photometer::platform::DecisionList>(
      &record, [](Record& r) -> photometer::platform::DecisionList& { return r.decisions; });
  return record;
}

}  // namespace explorer
