// Input: a board file.
// Checks: either one message that names file and what to do, or settings that can be used: a root, ports with names and
// devices of their own, absolute paths, a file for the debug output that goes to a file; the line of each key.
#include "platform/posix/BoardFile.h"

#include <algorithm>
#include <set>

#include "platform/InstrumentPath.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::platform::BoardFile;

void CheckPath(const std::string& path, bool bMayBeEmpty) {
  Require(path.empty() ? bMayBeEmpty : path.front() == '/', "a path of the host is absolute");
}

void CheckPorts(const BoardFile& file) {
  std::set<std::u16string> names;
  std::set<std::string> devices;
  for (const auto& port : file.ports) {
    CheckPath(port.device, false);
    Require(port.name.size() == 5 && port.name.starts_with(u"COM") && port.name.back() == u':', "a port's name");
    Require(names.insert(port.name).second && devices.insert(port.device).second, "a port has a device of its own");
  }
}

void CheckFile(const BoardFile& file, int iLines) {
  CheckPath(file.root, false);
  CheckPath(file.pinsFolder, true);
  CheckPath(file.registryFile, false);
  CheckPath(file.debugFile, file.debugTarget != photometer::platform::DebugTarget::File);
  CheckPorts(file);
  Require(file.program.empty() || photometer::platform::SplitInstrumentPath(file.program).has_value(),
          "the program has a path of the instrument");
  for (const auto& [key, iLine] : file.lines) {
    Require(iLine >= 1 && iLine <= iLines && std::ranges::count(BoardFile::Keys(), key) == 1,
            "a known key in its line");
  }
}

void Check(std::string_view input) {
  const auto parsed = BoardFile::Parse(input, "board.toml");
  if (const auto* pComplaint = std::get_if<std::string>(&parsed)) {
    fuzz::RequireMessage(*pComplaint, "board.toml");
    fuzz::RequirePrintable(*pComplaint);
    return Require(pComplaint->starts_with("board.toml:") && pComplaint->find(';') != std::string::npos,
                   "where, and what to do: " + *pComplaint);
  }
  CheckFile(std::get<BoardFile>(parsed), static_cast<int>(std::ranges::count(input, '\n')) + 1);
}

const fuzz::Target target("BoardFile", Check);

}  // namespace
