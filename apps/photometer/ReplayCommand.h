/// `photometer replay`: runs the command of a trace again, against what the trace recorded of the instrument, and tells
/// the first difference.
#pragma once

#include <optional>
#include <string>

#include "Command.h"
#include "CommandCall.h"
#include "ShellTrace.h"
#include "Trace.h"
#include "TraceComparison.h"
#include "TraceHead.h"

namespace host {

class ReplayCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  /// The replay's own trace as text; something else than `Success` comes with a message.
  ExitCode Replay(Console& console, CommandCall& call, const std::vector<TracedShellLine>& lines,
                  std::string& text) const;
  ExitCode Report(Console& console, const Trace& replay) const;
  void Tell(Console& console, const TraceDifference& difference) const;
  /// `FILE:12: ...`
  [[noreturn]] void Complain(const std::string& complaint) const;

  std::string m_strFile;
  bool m_bTimes = false;
  bool m_bShow = false;
  std::optional<Trace> m_trace;
  TraceHead m_head;
};

}  // namespace host
