/// Opens everything that a board file names, and says what works and what does not.
///
/// Nothing is made or changed, but that opening a serial port sets its line to raw bytes.
#pragma once

#include <string>
#include <vector>

#include "platform/posix/BoardFile.h"

namespace host {

enum class BoardState {
  Works,
  /// The instrument runs without it.
  Note,
  Wrong
};

struct BoardFinding {
  BoardState state;
  /// As in the board file: "ports.COM2".
  std::string strKey;
  std::string strFound;
  /// What to do, unless it works.
  std::string strMend;
};

std::vector<BoardFinding> CheckBoard(const photometer::platform::BoardFile& file);

/// A line for each finding, what to do below it, and a last one that counts what is wrong.
std::string FormatFindings(const std::string& source, const std::vector<BoardFinding>& findings);

/// Something must be mended.
bool HasWrong(const std::vector<BoardFinding>& findings);

}  // namespace host
