/// What a self-test found: for each thing that was judged what was measured, the limit, the verdict and what to do.
#pragma once

#include <string>
#include <vector>

#include "ResultTable.h"

namespace host {

enum class Verdict { Passed, Failed, NotDone, NotTested };

struct CheckRow {
  std::string strStep;
  std::string strMeasured;
  std::string strLimit;
  Verdict verdict = Verdict::NotDone;
  /// When it failed.
  std::string strAdvice;
};

std::string VerdictText(Verdict verdict);

bool HasFailed(const std::vector<CheckRow>& rows);

/// Columns step, measured, limit, verdict, advice. In the table the advice stands below, for what failed.
std::string FormatCheck(const ResultHeader& header, const std::vector<CheckRow>& rows, OutputFormat format);

}  // namespace host
