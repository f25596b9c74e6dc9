/// The lines of a shell or script in a trace, so that they can be run again: in the channel `host`, where one begins,
///
///     line measure --wavelengths=436,525 '--label=batch 7'
///
/// with its words in quotes where they need some, without options that name files. The blank that it reads follows in
/// the channel `blank`. A line that could not be run, or does not work on the instrument, is not there. Where the lines
/// end stands `lines-end CODE`, with the exit code so far.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Trace.h"
#include "TraceHead.h"
#include "platform/Transcript.h"

namespace host {

struct TracedShellLine {
  /// In the trace.
  std::size_t nNumber;
  /// As a person types it.
  std::string strText;
  std::string strBlank;
};

/// In their order.
std::vector<TracedShellLine> ShellLinesOf(const Trace& trace);

/// A line begins, with the name of its command.
void NoteShellLine(photometer::platform::Transcript& transcript, std::uint64_t nMicroseconds, const std::string& name,
                   const TracedOptions& call);

}  // namespace host
