/// A script: commands for one instrument, one a line, checked whole before anything starts.
#pragma once

#include <istream>
#include <string>
#include <variant>
#include <vector>

#include "Workplace.h"

namespace host {

class Script {
 public:
  /// Takes the text apart. `source` is its name in messages. Returns what is wrong with its form, a line each.
  static std::variant<Script, std::string> Read(std::istream& text, const std::string& source);

  /// Parses and checks every line; what a line needs of the start-up is noted in the workplace. Returns what is wrong:
  /// source, line, what and what to do, a line each. A blank that an earlier line writes is looked at when its turn
  /// comes.
  [[nodiscard]] std::string Check(Workplace& workplace) const;
  /// Runs line after line, until one fails (or to the end, with `bKeepGoing`), a person asks to end, or it quits.
  /// Returns the exit code of the first line that failed.
  ExitCode Run(Console& console, bool bKeepGoing) const;

 private:
  struct Line {
    int iNumber;
    std::vector<std::string> words;
  };

  ExitCode RunLine(const Line& line, Console& console) const;
  /// `file:7`
  [[nodiscard]] std::string Place(const Line& line) const;

  std::string m_strSource;
  /// Without empty ones.
  std::vector<Line> m_lines;
};

}  // namespace host
