/// The text of a trace (`--trace FILE`) taken apart, one line after the other.
///
/// A line is `milliseconds.microseconds <TAB> channel <TAB> text`, ended by a line feed. In the text, bytes outside
/// printable ASCII and the backslash stand as `\xNN`. Channels are `COM2>` (host to port), `COM2<` and so on, `sink`,
/// `log`, `debug`, `pin`, `registry`, and of the program itself `host`, `settings` and `blank` (see TraceHead.h).
/// Times need not rise: threads may note in another order than they looked at the clock.
///
/// Whatever the bytes are: reading neither crashes nor hangs, and needs memory in proportion to them. No locks, no
/// state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host {

/// Channels of the program itself.
inline constexpr const char* HostChannel = "host";
inline constexpr const char* SettingsChannel = "settings";
inline constexpr const char* BlankChannel = "blank";

struct TraceLine {
  /// In the file; the first one is 1.
  std::size_t nNumber;
  std::uint64_t nMicroseconds;
  std::string channel;
  /// The bytes themselves.
  std::string text;

  /// Bytes that the host sent to a port, or got from one.
  [[nodiscard]] bool IsWrite() const { return channel.back() == '>'; }
  [[nodiscard]] bool IsRead() const { return channel.back() == '<'; }
  /// The program's own line that begins with this.
  [[nodiscard]] bool IsOfHost(std::string_view begin) const {
    return channel == HostChannel && text.starts_with(begin);
  }
  /// "COM2"; only of a write or read.
  [[nodiscard]] std::string_view Port() const { return std::string_view(channel).substr(0, channel.size() - 1); }
};

class Trace {
 public:
  /// The lines, or what is wrong: `12: what; what to do`, with the number of the line.
  static std::variant<Trace, std::string> Read(std::string_view text);

  /// At least one.
  [[nodiscard]] const std::vector<TraceLine>& Lines() const { return m_lines; }
  /// The last line tells the program's end; else the process did not survive, or lines are missing.
  [[nodiscard]] bool IsComplete() const;

 private:
  std::vector<TraceLine> m_lines;
};

/// What the text of the last line of a whole trace begins with, before the exit code.
inline constexpr std::string_view TraceEnd = "end ";
/// In the same channel: a person asked to end what runs.
inline constexpr std::string_view TraceInterrupt = "interrupt";
/// A line of a shell or script begins: before its words.
inline constexpr std::string_view TraceCommandLine = "line ";
/// There are no more of them: before the exit code so far.
inline constexpr std::string_view TraceLinesEnd = "lines-end ";
/// For the external port: before what was typed. `TraceInputEnd`: nothing more comes.
inline constexpr std::string_view TraceTyped = "typed ";
inline constexpr std::string_view TraceInputEnd = "input-end";

}  // namespace host
