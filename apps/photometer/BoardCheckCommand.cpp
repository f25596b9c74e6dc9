#include "BoardCheckCommand.h"

#include <CLI/CLI.hpp>

#include "BoardCheck.h"

namespace host {

void BoardCheckCommand::AddOptions(CLI::App& app) {
  app.add_option("board", m_board.boardFile,
                 "Board file (else that of PHOTOMETER_BOARD, else /etc/photometer/board.toml)")
      ->type_name("FILE");
}

ExitCode BoardCheckCommand::Run(Console& console) {
  const auto loaded = photometer::platform::BoardFile::Load(m_board.FilePath());
  if (const auto* pComplaint = std::get_if<std::string>(&loaded)) {
    console.messages << "photometer: " << *pComplaint << "\n";
    return ExitCode::BoardFaulty;
  }
  const auto& file = std::get<photometer::platform::BoardFile>(loaded);
  const std::vector<BoardFinding> findings = CheckBoard(file);
  console.results << FormatFindings(file.source, findings) << std::flush;
  return HasWrong(findings) ? ExitCode::BoardFaulty : ExitCode::Success;
}

}  // namespace host
