#include "ShellTrace.h"

#include <fmt/format.h>

#include "Words.h"

namespace host {

std::vector<TracedShellLine> ShellLinesOf(const Trace& trace) {
  std::vector<TracedShellLine> lines;
  for (const TraceLine& line : trace.Lines()) {
    if (line.IsOfHost(TraceCommandLine)) {
      lines.push_back({line.nNumber, line.text.substr(TraceCommandLine.size()), {}});
    } else if (line.channel == BlankChannel && !lines.empty()) {
      lines.back().strBlank += line.text;
    }
  }
  return lines;
}

void NoteShellLine(photometer::platform::Transcript& transcript, std::uint64_t nMicroseconds, const std::string& name,
                   const TracedOptions& call) {
  std::string text = std::string(TraceCommandLine) + name;
  for (const auto& [option, value] : call.options) {
    text += " " + QuoteWord(option.empty() ? value : fmt::format("{}={}", option, value));
  }
  transcript.Note(nMicroseconds, HostChannel, text);
  NoteFile(transcript, nMicroseconds, BlankChannel, call.strBlank);
}

}  // namespace host
