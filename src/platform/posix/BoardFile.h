/// The board file: which folder, ports, pins, registry file and debug output the POSIX board uses.
///
/// A small subset of TOML; docs/board-file.md describes the keys. Relative paths are taken from the board file's own
/// folder. Every error is one text of the form `file:line: key "name": what is wrong; what to do`, and nothing is
/// used of a file that has one.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace photometer::platform {

struct SerialPortEntry {
  /// As on the instrument, with its colon: "COM2:".
  std::u16string name;
  /// Path of the host's device, "/dev/ttyUSB0".
  std::string device;
  /// A read ends with the first bytes.
  bool bAtOnce = false;
};

enum class DebugTarget { Off, StandardError, File, Syslog };

struct BoardFile {
  /// Where it was read from, for messages.
  std::string source;
  /// Host folder that holds the instrument's `\NANDFlash`, `\SDMemory` and so on.
  std::string root;
  /// Instrument path that the running program claims to have; empty: `\Application\<name of the executable>`.
  std::u16string program;
  std::vector<SerialPortEntry> ports;
  /// Host folder of the pins' value files; empty: the board has no pins.
  std::string pinsFolder;
  /// Host path of the registry file.
  std::string registryFile;
  DebugTarget debugTarget = DebugTarget::Off;
  /// Host path, with `DebugTarget::File`.
  std::string debugFile;
  /// Line of each key that was given, "section.key" or "key".
  std::map<std::string, int> lines;

  /// The settings of a text, or what is wrong with it. `source` is the path of the file that the text is from.
  static std::variant<BoardFile, std::string> Parse(std::string_view text, const std::string& source);
  /// The same for a file of at most 64 KiB.
  static std::variant<BoardFile, std::string> Load(const std::string& path);
  /// All keys that a board file may have, as in `lines`.
  static std::span<const std::string_view> Keys();
  /// A message about a key: `file:line: key "name": text`.
  [[nodiscard]] std::string Complaint(const std::string& key, const std::string& text) const;
};

}  // namespace photometer::platform
