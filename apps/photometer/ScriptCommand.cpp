#include "ScriptCommand.h"

#include <fstream>
#include <iostream>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace host {

namespace {

std::variant<Script, std::string> ReadScript(const std::string& path) {
  if (path == "-") {
    return Script::Read(std::cin, "standard input");
  }
  std::ifstream file(path);
  if (!file || file.peek() == std::ifstream::traits_type::eof()) {
    return fmt::format("{} cannot be read or is empty; give a file with one command a line", path);
  }
  return Script::Read(file, path);
}

/// A list of complaints is a message of its own, without an option's name.
void Refuse(std::string complaints) {
  if (complaints.ends_with('\n')) {
    complaints.pop_back();
  }
  throw CLI::ValidationError(complaints);
}

}  // namespace

void ScriptCommand::AddOptions(CLI::App& app) {
  app.add_option("script", m_strFile, "File with one command a line, or - for standard input")
      ->type_name("FILE")
      ->required();
  app.add_flag("--keep-going", m_bKeepGoing, "Go on after a line that failed");
  m_instrument.AddTo(app);
  m_board.AddTo(app);
  app.add_flag("--force", m_board.bForce, "Replace a trace that is there already");
}

void ScriptCommand::Check() {
  m_board.Check();
  m_instrument.Check();
  auto read = ReadScript(m_strFile);
  if (const auto* pComplaint = std::get_if<std::string>(&read)) {
    Refuse(*pComplaint);
  }
  m_script = std::move(std::get<Script>(read));
  m_workplace.emplace(m_board, m_instrument);
  if (std::string complaints = m_script.Check(*m_workplace); !complaints.empty()) {
    Refuse(std::move(complaints));
  }
}

ExitCode ScriptCommand::Run(Console& console) {
  if (!m_workplace->Open(console)) {
    return ExitCode::BadInput;
  }
  Console joined = console;
  joined.pWorkplace = &*m_workplace;
  joined.pInput = m_strFile == "-" ? nullptr : console.pInput;
  const ExitCode code = m_workplace->EndLines(console, m_script.Run(joined, m_bKeepGoing));
  m_workplace->EndSession();
  return m_workplace->Close(console, code);
}

}  // namespace host
