/// A file of lines, read piece by piece: of a file of any size only one line is in memory.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "platform/posix/HostFile.h"

namespace host {

class LogLines {
 public:
  /// Takes an open file.
  explicit LogLines(photometer::platform::HostFile file) : m_file(std::move(file)) {}

  struct Line {
    /// Without "\n" or "\r\n".
    std::string text;
    /// Not all of the line: it is longer than 64 KiB, or the file ends before its end.
    bool bCut = false;
  };
  /// False at the end of the file, or when it cannot be read on.
  bool Next(Line& line);

 private:
  bool Fill();

  photometer::platform::HostFile m_file;
  std::string m_strBlock;
  std::size_t m_nNext = 0;
};

}  // namespace host
