#include "ReplayCommand.h"

#include <algorithm>
#include <sstream>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "ByteText.h"
#include "InputFile.h"
#include "RecordedTyping.h"
#include "ReplayBoard.h"
#include "ScratchFolder.h"
#include "ShellLine.h"
#include "Words.h"
#include "logging/LogFiles.h"

namespace host {

namespace {

// A scan of the whole range at the finest step, with its blank, has a tenth of it.
constexpr std::size_t GreatestTrace = 256U << 20;
constexpr std::size_t LinesAround = 4;
// A day less than a trace may have, since a replay that leaves its trace goes on for a while, µs.
constexpr std::uint64_t LongestReplay = 30ULL * 24 * 3600 * 1'000'000;

constexpr std::string_view ScriptCommandName = "run";

/// Nothing: the command cannot be run again.
const CommandEntry* FindReplayable(const std::string& name) {
  const CommandEntry* pEntry = FindCommand(name);
  return pEntry != nullptr && WorksOnInstrument(*pEntry) ? pEntry : nullptr;
}

/// Nothing but what a trace has: no line names a file of this machine.
bool CanBeRun(const TracedShellLine& line) {
  const auto split = SplitWords(line.strText);
  const auto* pWords = std::get_if<std::vector<std::string>>(&split);
  if (pWords == nullptr || pWords->empty() ||
      std::ranges::any_of(*pWords, [](const std::string& word) { return IsLeftOut(word.substr(0, word.find('='))); })) {
    return false;
  }
  const auto named = FindNamedCommand(*pWords);
  const auto* pNamed = std::get_if<NamedCommand>(&named);
  return pNamed != nullptr ? WorksOnInstrument(*pNamed->pEntry)
                           : pWords->size() == 1 && std::ranges::find(ShellWords(), pWords->front(),
                                                                      &ShellWord::name) != ShellWords().end();
}

/// The files that the recorded command read, written again.
class RecordedFiles {
 public:
  /// Path of a new file of these bytes.
  std::string Write(std::string_view bytes) {
    std::string path = m_folder.Write(fmt::format("{}", ++m_nFiles), bytes);
    m_bWritten = m_bWritten && !path.empty();
    return path;
  }
  /// All could be written.
  [[nodiscard]] bool AreWritten() const { return m_bWritten; }

 private:
  ScratchFolder m_folder;
  std::size_t m_nFiles = 0;
  bool m_bWritten = true;
};

/// The lines of a shell or script, each with its blank.
std::vector<TracedShellLine> Lines(const Trace& trace, RecordedFiles& files) {
  std::vector<TracedShellLine> lines = ShellLinesOf(trace);
  for (TracedShellLine& line : lines) {
    if (!line.strBlank.empty()) {
      line.strText += " --blank=" + QuoteWord(files.Write(line.strBlank));
    }
  }
  return lines;
}

std::vector<std::string> Arguments(const TraceHead& head, const std::vector<TracedShellLine>& lines,
                                   RecordedFiles& files) {
  std::vector<std::string> arguments;
  for (const auto& [name, value] : head.call.options) {
    arguments.push_back(name.empty() ? value : fmt::format("{}={}", name, value));
  }
  if (!head.strSettings.empty()) {
    arguments.push_back("--settings=" + files.Write(head.strSettings));
  }
  if (!head.call.strBlank.empty()) {
    arguments.push_back("--blank=" + files.Write(head.call.strBlank));
  }
  if (head.strCommand == ScriptCommandName) {
    std::string script = "\n";  // one without lines may have been cut off, too
    for (const TracedShellLine& line : lines) {
      script += line.strText + "\n";
    }
    arguments.push_back(files.Write(script));
  }
  return arguments;
}

}  // namespace

void ReplayCommand::AddOptions(CLI::App& app) {
  app.add_option("trace", m_strFile, "File that --trace wrote")->type_name("FILE")->required();
  app.add_flag("--times", m_bTimes, "Also compare the times, of a simulated run: it repeats to the microsecond");
  app.add_flag("--show", m_bShow, "Show progress and results of the replayed command");
}

void ReplayCommand::Complain(const std::string& complaint) const {
  throw CLI::ValidationError(m_strFile + ":" + complaint);
}

void ReplayCommand::Check() {
  const InputText input = LoadInput(m_strFile, GreatestTrace);
  if (!input.complaint.empty()) {
    throw CLI::ValidationError(input.complaint);
  }
  auto trace = Trace::Read(input.text);
  if (const auto* pComplaint = std::get_if<std::string>(&trace)) {
    Complain(*pComplaint);
  }
  m_trace = std::get<Trace>(std::move(trace));
  const auto late =
      std::ranges::find_if(m_trace->Lines(), [](const TraceLine& line) { return line.nMicroseconds > LongestReplay; });
  if (late != m_trace->Lines().end()) {
    Complain(fmt::format("{}: the time is beyond 30 days; no longer run can be replayed", late->nNumber));
  }
  auto head = TraceHead::Read(*m_trace);
  if (const auto* pComplaint = std::get_if<std::string>(&head)) {
    Complain(*pComplaint);
  }
  m_head = std::get<TraceHead>(std::move(head));
  if (FindReplayable(m_head.strCommand) == nullptr) {
    Complain(fmt::format("1: a trace of \"{}\" cannot be replayed; give one of a command that works on an instrument",
                         m_head.strCommand));
  }
  for (const TracedShellLine& line : ShellLinesOf(*m_trace)) {
    if (!CanBeRun(line)) {
      Complain(fmt::format("{}: \"{}\" cannot stand in a trace; record the run again, with --trace", line.nNumber,
                           photometer::platform::Printable(line.strText)));
    }
  }
  if (m_bTimes && !m_head.bVirtual) {
    throw CLI::ValidationError("--times", "is for the trace of a simulated run; leave it out");
  }
}

ExitCode ReplayCommand::Run(Console& console) {
  RecordedFiles files;
  const auto lines = Lines(*m_trace, files);
  const auto arguments = Arguments(m_head, lines, files);
  if (!files.AreWritten()) {
    console.messages << "photometer: the files that the command of the trace read cannot be written to a temporary "
                        "folder; set TMPDIR to one that you may write to, and that has room\n";
    return ExitCode::OutputFailed;
  }
  CommandCall call(*FindReplayable(m_head.strCommand), nullptr);
  if (const std::string complaint = call.Parse(arguments); !complaint.empty()) {
    console.messages << Harmless(
        fmt::format("photometer: {}:1: the command of the trace cannot be run: {}\n", m_strFile, complaint));
    return ExitCode::BadInput;
  }
  std::string replayed;
  if (const ExitCode code = Replay(console, call, lines, replayed); code != ExitCode::Success) {
    return code;
  }
  const auto replay = Trace::Read(replayed);
  if (const auto* pComplaint = std::get_if<std::string>(&replay)) {
    console.messages << "internal fault: the replay's own trace: " << *pComplaint << "\n";
    return ExitCode::InternalFault;
  }
  return Report(console, std::get<Trace>(replay));
}

ExitCode ReplayCommand::Replay(Console& console, CommandCall& call, const std::vector<TracedShellLine>& lines,
                               std::string& text) const {
  Interrupt interrupt;
  ReplayBoard board(*m_trace, m_head, interrupt, console.interrupt);
  std::ostringstream nowhere;
  Console replayed{m_bShow ? console.results : nowhere, m_bShow ? console.messages : nowhere, false, interrupt};
  replayed.pReplay = &board;
  RecordedLines typed(board, *m_trace, lines);
  RecordedInput input(board, *m_trace);
  replayed.pLines = &typed;
  replayed.pInput = &input;
  call.Run(replayed);
  for (const std::string& line : board.Transcript().Lines()) {
    text += line + '\n';
  }
  if (console.interrupt.Count() > 0) {
    console.messages << "the replay was ended\n";
    return ExitCode::Cancelled;
  }
  for (const std::string& fault : board.Faults()) {
    console.messages << "internal fault: " << fault << "\n";
  }
  return board.Faults().empty() ? ExitCode::Success : ExitCode::InternalFault;
}

ExitCode ReplayCommand::Report(Console& console, const Trace& replay) const {
  const std::size_t nLines = m_trace->Lines().size();
  std::string library;
  photometer::GetLibraryVersionText(&library);
  if (library != m_head.strLibrary) {
    console.messages << fmt::format("recorded with library {}, replayed with {}\n", m_head.strLibrary, library);
  }
  if (const auto difference = Compare(*m_trace, replay, m_bTimes ? Comparison::Times : Comparison::Order)) {
    Tell(console, *difference);
    return ExitCode::TraceDiffers;
  }
  if (!m_trace->IsComplete()) {
    console.results << fmt::format(
        "{}:{}: the trace ends here, before the run: the program did not survive, or the file is no whole copy. Until "
        "here the replay is the same.\n",
        m_strFile, nLines);
    return ExitCode::TraceDiffers;
  }
  console.results << fmt::format("{}: the same, {} lines of \"{}\"\n", m_strFile, nLines, m_head.strCommand);
  return ExitCode::Success;
}

void ReplayCommand::Tell(Console& console, const TraceDifference& difference) const {
  const std::vector<TraceLine>& lines = m_trace->Lines();
  const std::size_t nLine = difference.nLine == 0 ? lines.size() : difference.nLine;
  console.results << fmt::format("{}:{}: the replay differs\n", m_strFile, nLine);
  console.results << "  expected  " << (difference.expected.empty() ? "nothing more" : difference.expected) << "\n";
  console.results << "  came      " << (difference.came.empty() ? "nothing" : difference.came) << "\n";
  console.results << "The trace around it:\n";
  const std::size_t nFirst = nLine - std::min(nLine - 1, LinesAround);
  for (std::size_t i = nFirst; i <= std::min(nLine + LinesAround, lines.size()); ++i) {
    console.results << fmt::format("{} {:>6}  {}\n", i == difference.nLine ? '>' : ' ', i, ShowTraceLine(lines[i - 1]));
  }
  console.results << std::flush;
}

}  // namespace host
