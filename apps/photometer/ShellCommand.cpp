#include "ShellCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "ByteText.h"
#include "LineReader.h"
#include "RecordedTyping.h"
#include "ShellLine.h"
#include "Words.h"

namespace host {

namespace {

/// What is wrong with a line; empty when it was run or quits.
std::string RunLine(const std::string& text, Console& console, bool& bQuit) {
  const auto words = SplitWords(text);
  if (const auto* pComplaint = std::get_if<std::string>(&words)) {
    return *pComplaint;
  }
  auto parsed = ShellLine::Parse(std::get<std::vector<std::string>>(words), *console.pWorkplace);
  if (const auto* pComplaint = std::get_if<std::string>(&parsed)) {
    return *pComplaint;
  }
  auto& line = std::get<ShellLine>(parsed);
  bQuit = line.Quits();
  if (!line.IsEmpty()) {
    line.Run(console);
  }
  return {};
}

/// Until the person quits; a request to end at the prompt only drops the line.
ExitCode Converse(LineReader& reader, Console& console) {
  for (bool bQuit = false; !bQuit;) {
    console.interrupt.Clear();
    const InputLine line = reader.Read();
    if (console.interrupt.EndWanted() || (line.end == InputEnd::Interrupted && !reader.HasTerminal())) {
      return ExitCode::Cancelled;
    }
    if (line.end == InputEnd::Interrupted) {
      console.messages << "^C\n" << std::flush;
      continue;
    }
    if (line.end == InputEnd::Closed) {
      console.messages << (reader.HasTerminal() ? "\n" : "") << std::flush;
      return ExitCode::Success;
    }
    if (const std::string complaint = RunLine(line.strText, console, bQuit); !complaint.empty()) {
      console.messages << Harmless(complaint) << "\n" << std::flush;
    }
    if (console.interrupt.EndWanted()) {
      return ExitCode::Cancelled;
    }
  }
  return ExitCode::Success;
}

}  // namespace

void ShellCommand::AddOptions(CLI::App& app) {
  m_instrument.AddTo(app);
  m_board.AddTo(app);
  app.add_flag("--force", m_board.bForce, "Replace a trace that is there already");
}

void ShellCommand::Check() {
  m_board.Check();
  m_instrument.Check();
}

ExitCode ShellCommand::Run(Console& console) {
  Workplace workplace(m_board, m_instrument);
  if (!workplace.Open(console)) {
    return ExitCode::BadInput;
  }
  const auto complete = [&workplace](const std::string& text) { return CompleteLine(text, workplace); };
  const std::unique_ptr<LineReader> pStandard =
      console.pLines == nullptr ? MakeLineReader(console.interrupt, complete) : nullptr;
  LineReader& reader = console.pLines == nullptr ? *pStandard : *console.pLines;
  Console joined = console;
  joined.pWorkplace = &workplace;
  // What is piped in is lines of the shell, to the last.
  joined.pInput = reader.HasTerminal() || console.pReplay != nullptr ? console.pInput : nullptr;
  StartUpAgain(joined);
  if (reader.HasTerminal()) {
    console.messages << "\"help\" lists the commands, \"quit\" switches the instrument off\n" << std::flush;
  }
  ExitCode code = console.interrupt.EndWanted() ? ExitCode::Cancelled : Converse(reader, joined);
  code = workplace.EndLines(console, code);
  if (code == ExitCode::Success && !console.results) {
    code = ExitCode::OutputFailed;
  }
  workplace.EndSession();
  return workplace.Close(console, code);
}

}  // namespace host
