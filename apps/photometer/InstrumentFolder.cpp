#include "InstrumentFolder.h"

#include <filesystem>
#include <variant>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "BoardOptions.h"
#include "platform/InstrumentPath.h"
#include "platform/posix/BoardFile.h"

namespace host {

namespace layer = photometer::platform;

namespace {

std::string BoardPath(const std::string& option) {
  BoardOptions options;
  options.boardFile = option;
  return options.FilePath();
}

}  // namespace

void InstrumentFolder::AddTo(CLI::App& app) {
  app.add_option("--board", m_strBoardFile,
                 "Board file of the instrument (else that of PHOTOMETER_BOARD, else /etc/photometer/board.toml)")
      ->type_name("FILE");
  app.add_option("--root", m_strRootOption, "Folder of the instrument's files, instead of the board file's")
      ->type_name("FOLDER");
}

void InstrumentFolder::Check() const {
  if (!m_strRootOption.empty() && !m_strBoardFile.empty()) {
    throw CLI::ValidationError("--root", "does not go with --board; give one of them");
  }
}

std::string InstrumentFolder::Find() {
  if (!m_strRootOption.empty()) {
    m_strRoot = m_strRootOption;
  } else {
    const auto loaded = layer::BoardFile::Load(BoardPath(m_strBoardFile));
    if (const auto* pComplaint = std::get_if<std::string>(&loaded)) {
      return *pComplaint + (m_strBoardFile.empty() ? "; or give --board FILE, or --root FOLDER" : "");
    }
    const auto& file = std::get<layer::BoardFile>(loaded);
    m_strRoot = file.root;
    if (auto names = layer::SplitInstrumentPath(file.program); names && !names->empty()) {
      names->pop_back();
      m_strProgramFolder.clear();
      for (const std::string& name : *names) {
        m_strProgramFolder += (m_strProgramFolder.empty() ? "" : "/") + name;
      }
    }
  }
  std::error_code error;
  if (!std::filesystem::is_directory(m_strRoot, error)) {
    return fmt::format("{} is no folder; give the one that holds the instrument's NANDFlash and SDMemory", m_strRoot);
  }
  return {};
}

}  // namespace host
