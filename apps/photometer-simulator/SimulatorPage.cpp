#include "SimulatorPage.h"

#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "../common/FaultText.h"
#include "../common/Roff.h"
#include "../common/WrapText.h"
#include "RealTimeServer.h"

namespace serving {

namespace {

constexpr const char* Description = R"roff(.SH SYNOPSIS
.B photometer\-simulator
.RI [ OPTION ]...
.SH DESCRIPTION
.B photometer\-simulator
serves a simulated instrument on a pseudo\-terminal in real time, with the pins of the cuvette holder, the file system
and the registry in a folder.
A host, such as
.BR photometer (1),
works with it as with a real instrument.
.PP
The first line that it prints names the board file to give to the host.
Everything that was made is removed at the end, unless
.B \-\-keep
was given.
)roff";

constexpr const char* Rest = R"roff(.SH FILES
.TP
.I board.toml
The board file, see
.BR photometer\-board (5).
.TP
.IR root ", " pins ", " registry.txt
The file system, the pins' value files and the registry of the simulated instrument.
.SH EXIT STATUS
0 after a normal end, 1 when something could not be made, 2 for a wrong command line.
.SH EXAMPLES
.EX
photometer\-simulator \-\-sample red:0.8 \-\-commands
.EE
.PP
and in another terminal, with the board file that it names:
.PP
.EX
photometer measure \-\-wavelengths 436,525 \-\-wait\-for\-cuvette 60 \-\-board \fIFILE\fR
.EE
.SH SEE ALSO
.BR photometer (1),
.BR photometer\-board (5)
)roff";

/// A part of help text and page: a sentence, and words with their meanings.
struct Section {
  std::string_view heading;
  std::string_view introduction;
  std::vector<common::FaultForm> items;
};

std::vector<common::FaultForm> Commands() {
  std::vector<common::FaultForm> commands;
  commands.reserve(RealTimeServer::Commands.size());
  for (const RealTimeServer::CommandForm& command : RealTimeServer::Commands) {
    commands.push_back({command.form, command.meaning});
  }
  return commands;
}

std::vector<Section> Sections() {
  return {
      {"Commands", "With --commands, a line of standard input is one of", Commands()},
      {"Faults of a command",
       "--fault KIND:LETTER[:NTH][:NAME=VALUE] breaks what the optical unit answers, --pump-fault what the pump does; "
       "NTH says to which command of that letter, * or nothing: to each. As late:a:2:delay=500",
       common::CommandFaults()},
      {"Faults of a stream", "Of the optical unit's streams alone, as --fault no-trailer:s", common::StreamFaults()},
      {"Faults of a pump", "--pump-fault KIND[:NAME=VALUE], as pumping:count=5:delay=3000, besides those of a command",
       common::PumpFaults()},
      {"Letters of commands", "LETTER is that of the command on the wire:", common::FaultLetters()},
  };
}

}  // namespace

std::string SimulatorHelp() {
  constexpr std::size_t Indent = 2;
  constexpr std::size_t Names = 21;  // columns of the longest
  std::string text;
  for (const Section& section : Sections()) {
    text += fmt::format("{}{}:\n", text.empty() ? "" : "\n", section.heading);
    text += common::WrapText(fmt::format("  {}", section.introduction), Indent);
    for (const common::FaultForm& item : section.items) {
      text += common::WrapText(fmt::format("  {:<{}} {}", item.name, Names, item.meaning), Indent + Names + 1);
    }
  }
  return text;
}

std::string SimulatorPage(const CLI::App& app) {
  std::string text = common::RoffHead("photometer-simulator", "serves a simulated photometer on a pseudo-terminal") +
                     Description + common::RoffOptions(app);
  for (const Section& section : Sections()) {
    text += common::RoffSection(section.heading) + common::RoffText(section.introduction) + "\n";
    for (const common::FaultForm& item : section.items) {
      text += common::RoffItem(".B " + common::RoffText(item.name), item.meaning);
    }
  }
  return text + Rest;
}

}  // namespace serving
