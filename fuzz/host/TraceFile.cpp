// Input: a trace, as `photometer replay` reads it.
// Checks: either a message with the number of a line, or as many lines as there are line ends, each with a channel and
// a time; a head that is taken has a command, and what is wrong with one is said with its line; a trace is the same as
// itself; the words of its shell lines are the same when they are quoted again.
#include <algorithm>

#include "ShellTrace.h"
#include "Trace.h"
#include "TraceComparison.h"
#include "TraceHead.h"
#include "Words.h"
#include "support/Target.h"

namespace {

using fuzz::Require;

void CheckMessage(const std::string& message) {
  fuzz::RequireMessage(message, ": ");
  fuzz::RequirePrintable(message);
  Require(message.front() >= '1' && message.front() <= '9', "a message begins with the number of a line");
}

void Check(std::string_view input) {
  const auto read = host::Trace::Read(input);
  if (const auto* pComplaint = std::get_if<std::string>(&read)) {
    return CheckMessage(*pComplaint);
  }
  const auto& trace = std::get<host::Trace>(read);
  Require(std::ranges::count(input, '\n') == std::ssize(trace.Lines()), "a line for each line end");
  for (const host::TraceLine& line : trace.Lines()) {
    Require(!line.channel.empty() && line.nNumber > 0, "channel and number");
    fuzz::RequirePrintable(host::ShowTraceLine(line));
  }
  for (const host::TracedShellLine& line : host::ShellLinesOf(trace)) {
    const auto words = host::SplitWords(line.strText);
    if (const auto* pWords = std::get_if<std::vector<std::string>>(&words)) {
      std::string again;
      for (const std::string& word : *pWords) {
        again += host::QuoteWord(word) + ' ';
      }
      Require(host::SplitWords(again) == words, "words are the same when they are quoted");
    }
  }
  for (const host::Comparison comparison : {host::Comparison::Order, host::Comparison::Times}) {
    Require(!host::Compare(trace, trace, comparison), "a trace is the same as itself");
  }
  const auto head = host::TraceHead::Read(trace);
  if (const auto* pComplaint = std::get_if<std::string>(&head)) {
    return CheckMessage(*pComplaint);
  }
  Require(!std::get<host::TraceHead>(head).strCommand.empty(), "a head names its command");
}

const fuzz::Target target("TraceFile", Check);

}  // namespace
