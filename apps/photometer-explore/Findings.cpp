#include "Findings.h"

#include <iostream>

#include <fmt/format.h>

#include "Isolation.h"
#include "Report.h"
#include "Shrinker.h"

namespace explorer {

void Findings::Take(const Finding& finding) {
  if (++m_counts[finding.violation.property] > 1) {
    std::cout << fmt::format("seed {}: \"{}\" again: {}\n", finding.seed, finding.violation.property,
                             finding.violation.text)
              << std::flush;
    return;
  }
  std::vector<std::string> lines;
  Record record = MakeRecord(m_exploration, finding, &lines);
  Tell(std::move(record), std::move(lines));
}

void Findings::Take(Record record) {
  ++m_counts[record.violation.property];
  Tell(std::move(record), {});
}

void Findings::Tell(Record record, std::vector<std::string> lines) {
  if (m_nShrinkRuns > 0) {
    std::cout << fmt::format("seed {}: \"{}\" is broken; making it small ...\n", record.seed, record.violation.property)
              << std::flush;
    record = Shrinker(FirstBroken, m_nShrinkRuns).Shrink(std::move(record));
    RunOptions run = record.Options();
    run.bTrace = true;
    const Outcome outcome = RunIsolated(record.plan, run);
    lines = outcome.lines;
    record.violation = outcome.violations.empty() ? record.violation : outcome.violations.front();
  }
  const std::string path = RecordPath(m_exploration.folder, record);
  if (!WriteRecord(record, path)) {
    std::cerr << fmt::format("photometer-explore: \"{}\" cannot be written; the record is lost\n", path);
  }
  std::cout << FindingText(record, lines, path) << std::flush;
}

void Findings::Summarise() const {
  for (const auto& [property, nCount] : m_counts) {
    std::cout << fmt::format("{:6} times broken: {}\n", nCount, property);
  }
}

}  // namespace explorer
