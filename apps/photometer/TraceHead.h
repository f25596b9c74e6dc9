/// The head of a trace: everything that a run depends on beside what comes over its ports and pins, so that it can be
/// run again elsewhere. It stands before the first event, in the channel `host`, one thing a line:
///
///     trace 1                               the form of the trace
///     library 4.2.1                         its version
///     board virtual                         or "real"; in virtual time a run repeats to the microsecond
///     time 2026-11-17 22:49:44.000          local time at the trace's beginning
///     tick 1000                             tick counter, ms
///     port COM2                             a port that could be opened
///     registry HalLamp 1485000              a lamp counter, s; none without the registry's key
///     command measure
///     option --wavelengths 436,525          as given, or by the host file; a flag has true or false
///     word on                               a word that belongs to no option
///
/// Options that name files are left out. What the files held that were read stands in the channels `settings` and
/// `blank`, a line each. After the head, `host` has `interrupt` where a person asked to end what runs, what
/// ShellTrace.h and RecordedTyping.h tell, and `end CODE` as the last line of all.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Trace.h"
#include "platform/Transcript.h"
#include "platform/Types.h"

namespace CLI {
class App;
}

namespace host {

/// What a command was called with.
struct TracedOptions {
  /// Name with dashes and value; words have no name. Without those that name files.
  std::vector<std::pair<std::string, std::string>> options;
  /// Contents of the file.
  std::string strBlank;
};

/// An option that names a file of the machine that the run was recorded on, or has no part in the run.
bool IsLeftOut(std::string_view option);

/// Of a command that has been parsed.
TracedOptions TakeOptions(const CLI::App& app);

struct TraceHead {
  std::string strLibrary;
  bool bVirtual = false;
  photometer::platform::SYSTEMTIME time{};
  photometer::DWORD dwTick = 0;
  std::vector<std::string> ports;
  /// Lamp counters by name, s.
  std::map<std::string, photometer::DWORD> registry;
  std::string strCommand;
  TracedOptions call;
  /// Contents of the file.
  std::string strSettings;

  /// Command, options and files of a command that has been parsed. The settings file is the one that counts, wherever
  /// it was named.
  void TakeCommand(const CLI::App& app, const std::string& settingsPath);
  /// Wavelengths of the zero measurement, in place of those that the command was called with.
  void TakeZeros(const std::vector<double>& wavelengths);
  /// Library, time, tick counter and registry of the board that is the layer's current one.
  void TakeBoard();
  void WriteTo(photometer::platform::Transcript& transcript, std::uint64_t nMicroseconds) const;
  /// What is wrong, as of `Trace::Read`, or the head.
  static std::variant<TraceHead, std::string> Read(const Trace& trace);
};

/// Notes the contents of a file, a line each.
void NoteFile(photometer::platform::Transcript& transcript, std::uint64_t nMicroseconds, const char* channel,
              std::string_view bytes);

/// A line of the head, with the files' contents; also the blank of a line of a shell or script.
bool IsHeadLine(const TraceLine& line);

}  // namespace host
