/// The instrument's error numbers in words.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "photometer/Types.h"

namespace host {

using photometer::HRESULT;
using photometer::LONG;

struct ErrorText {
  /// What was being done, as the error list names it.
  std::string operation;
  std::string cause;
  /// What a person can do about it.
  std::string advice;
};

/// The text of an instrument error number; nothing for a number that no operation has. Numbers that came as unsigned
/// ones are given as signed (4294967293 is −3).
std::optional<ErrorText> FindErrorText(LONG iNumber);

/// All numbers that have a text, lowest first.
std::vector<LONG> ErrorNumbers();

/// One line: number, operation, cause and advice; also for an unknown number.
std::string ExplainError(LONG iNumber);

/// Name and meaning of the result of an interface operation.
std::string ExplainResult(HRESULT hResult);

}  // namespace host
