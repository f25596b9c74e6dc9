#include "SimulatorPage.h"

#include <CLI/CLI.hpp>

#include "../common/Roff.h"

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

constexpr const char* Rest = R"roff(.SH COMMANDS
With
.BR \-\-commands ,
a line of standard input is one of
.TP
.BR insert " [\fINAME\fR [\fISIZE\fR]]"
Puts a cuvette into the holder: of 10\ mm with the sample of
.BR \-\-sample ,
or another one.
.TP
.B remove
Takes the cuvette out.
.TP
.B quit
Ends the program, as Ctrl\-C does.
.SH FAULTS
.RI \(dq KIND : LETTER [: NTH "][:" NAME = VALUE ]\(dq
breaks the answer to a command:
.I LETTER
is that of the command on the wire,
.B *
for any;
.I NTH
says which one,
.B *
or nothing for each.
.TP
.BR silence ", " silent\-execution
No answer; the command is not, or is, carried out.
.TP
.BR late " (\fBdelay\fR, ms)"
Everything later.
.TP
.B error
Not carried out, answered with an error.
.TP
.BR garbage " (\fBtext\fR)"
Another answer.
.TP
.BR split " (\fBdelay\fR, ms; \fBcount\fR, bytes before it)"
A pause in the answer.
.TP
.BR surplus " (\fBtext\fR)"
More behind the answer.
.TP
.BR lost " (\fBfirst\fR, \fBcount\fR)"
Bytes of the answer are missing.
.TP
.BR stale " (\fBtext\fR)"
Bytes before the answer.
.SH FILES
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

}  // namespace

std::string SimulatorPage(const CLI::App& app) {
  return common::RoffHead("photometer-simulator", "serves a simulated photometer on a pseudo-terminal") + Description +
         common::RoffOptions(app) + Rest;
}

}  // namespace serving
