#include "Commands.h"

#include <algorithm>

#include "BoardCheckCommand.h"
#include "ExplainCommand.h"
#include "ExternalCommand.h"
#include "FlushCommand.h"
#include "HolmiumScanCommand.h"
#include "InfoCommand.h"
#include "KineticsCommand.h"
#include "LampCommand.h"
#include "LogCommand.h"
#include "MeasureCommand.h"
#include "PumpCommand.h"
#include "ReplayCommand.h"
#include "ScanCommand.h"
#include "ScriptCommand.h"
#include "SettingsCommand.h"
#include "ShellCommand.h"
#include "SystemCheckCommand.h"
#include "TurbidityCommand.h"
#include "WatchCommand.h"
#include "WavelengthCheckCommand.h"
#include "WavelengthTestCommand.h"

namespace host {

namespace {

template <typename Kind>
std::unique_ptr<Command> Make() {
  return std::make_unique<Kind>();
}

std::vector<CommandEntry> MeasuringCommands() {
  return {
      CommandEntry{
          "measure",
          "absorbances at chosen wavelengths",
          Make<MeasureCommand>,
          "Starts the instrument up, measures each wavelength in the order given, and switches it off. The "
          "absorbance refers to the zero values that the start-up measures in the empty holder, or to a "
          "blank that was measured before.",
          {"photometer measure --demo", "photometer measure --wavelengths 260,525 --readings 3 --output blank.csv",
           "photometer measure --wavelengths 260,525 --blank blank.csv --label \"batch 7\""}},
      CommandEntry{"scan",
                   "a spectrum between two wavelengths",
                   Make<ScanCommand>,
                   "Records a value at each position of the monochromator, or at each tenth. A blank must have been "
                   "recorded with the same settings; without one, absorbances above the lamp switching point refer to "
                   "the zero values of the start-up.",
                   {"photometer scan --from 200 --to 900 --output solvent.csv",
                    "photometer scan --from 200 --to 900 --blank solvent.csv --output spectrum.json"}},
      CommandEntry{"kinetics",
                   "absorbance at one wavelength over time",
                   Make<KineticsCommand>,
                   "Takes a reading at each interval; the last one is the first that begins later than --for.",
                   {"photometer kinetics --wavelength 340 --every 10s --for 5min --format csv"}},
      CommandEntry{"turbidity",
                   "both readings of the turbidity channel",
                   Make<TurbidityCommand>,
                   "Tells the counts of the high and the low range; the turbidity calibration makes NTU of them.",
                   {"photometer turbidity --label tap"}},
  };
}

/// Those for an empty holder.
std::vector<CommandEntry> SelfTests() {
  return {
      CommandEntry{"test wavelength",
                   "find and store the correction of the wavelength scale",
                   Make<WavelengthTestCommand>,
                   "The instrument compares a peak of its holmium oxide filter with its wavelength, and corrects the "
                   "scale by it until it is shut down. It also mends an instrument that did not pass its start-up for "
                   "this. The cuvette holder must be empty.",
                   {"photometer test wavelength"}},
      CommandEntry{"check wavelength",
                   "compare peaks of the holmium oxide filter with their wavelengths",
                   Make<WavelengthCheckCommand>,
                   "Changes nothing: tells where the peaks are found, and fails when one is farther off than "
                   "--tolerance. The cuvette holder must be empty.",
                   {"photometer check wavelength --peaks 361,454,537 --tolerance 1"}},
      CommandEntry{"check system",
                   "judge lamps, wavelength, filters and detectors",
                   Make<SystemCheckCommand>,
                   "Tells for each part what was measured, the limit, the verdict, and what to do when it failed. The "
                   "cuvette holder must be empty.",
                   {"photometer check system --output report.json"}},
      CommandEntry{"scan-holmium",
                   "the spectrum of the built-in holmium oxide filter",
                   Make<HolmiumScanCommand>,
                   "Records the spectrum between two positions of the monochromator, without correction, with the "
                   "peaks that are found in it. The cuvette holder must be empty.",
                   {"photometer scan-holmium --first 5100 --last 6400 --format csv"}},
  };
}

/// Around pump, lamp, external port and events.
std::vector<CommandEntry> AttendedCommands() {
  return {
      CommandEntry{
          "pump",
          "what the sipper pump tells, its parameters, a cycle",
          Make<PumpCommand>,
          "Tells version, state and data of the attached pump. --set gives the ZQ-410 other parameters and waits "
          "for its acknowledgement; --step runs a cycle as before a measurement, with a flow cuvette in the "
          "holder.",
          {"photometer pump --pump zq420", "photometer pump --pump zq410 --set 7,120 --step"}},
      CommandEntry{"flush",
                   "rinse the flow cuvette with the sipper pump",
                   Make<FlushCommand>,
                   "Waits for the end of the flush. Ctrl-C stops a ZQ-420; a ZQ-410 goes on to its end.",
                   {"photometer flush --pump zq410", "photometer flush --pump zq420 --time 20s"}},
      CommandEntry{
          "lamp uv",
          "switch the deuterium lamp on or off",
          Make<LampCommand>,
          "Lights the lamp, waits for its warm-up, and stays until it is off. With a session it burns for ten "
          "hours at most, else until it has been idle for --uv-session-time. The end of the program switches it "
          "off; in a shell it stays on.",
          {"photometer lamp uv on --session 7 --for 2h", "photometer lamp uv off"}},
      CommandEntry{
          "external",
          "a terminal on the external port",
          Make<ExternalCommand>,
          "Shows what arrives and sends what is typed, until the end of the input or Ctrl-C. Bytes that do not "
          "print are written \\xNN, in both directions.",
          {"photometer external --baud-rate 9600 --line-end crlf"}},
      CommandEntry{
          "watch",
          "tell what happens, as it happens",
          Make<WatchCommand>,
          "Writes a line for each event: cuvette, pump connected or lost, its keys, lamp, reminders, errors; until "
          "--for has passed or Ctrl-C.",
          {"photometer watch --pump zq410 --for 2min --format json"}},
      CommandEntry{"info",
                   "versions, lamp hours, pump, cuvette, status",
                   Make<InfoCommand>,
                   "Also of an instrument that did not pass its start-up.",
                   {"photometer info", "photometer info --pump zq420 --format json"}},
  };
}

/// Those that are no run on the instrument.
std::vector<CommandEntry> OtherCommands() {
  return {
      CommandEntry{
          "shell",
          "one start-up, then commands as they are typed",
          Make<ShellCommand>,
          "Keeps the instrument on between commands. The options of board and instrument are given here, once; "
          "\"start-up\" starts the instrument up again, \"help\" lists the commands, \"quit\" or Ctrl-D "
          "switches the instrument off. Ctrl-C cancels the command that runs. A command that failed does not "
          "end the shell.",
          {"photometer shell", "photometer shell --simulate"},
          false},
      CommandEntry{
          "run",
          "one start-up, then the commands of a script",
          Make<ScriptCommand>,
          "The script has one command a line, as in the shell, with quotes and # comments. It is checked whole "
          "before the instrument is started; it ends with the first line that failed, unless --keep-going is "
          "given, and with that line's exit code.",
          {"photometer run morning.txt", "photometer run morning.txt --keep-going"},
          false},
      CommandEntry{
          "replay",
          "run a trace again, and tell the first difference",
          Make<ReplayCommand>,
          "Runs the command of a file that --trace wrote, in virtual time, against what the file recorded of the "
          "instrument, and compares what is sent, told and logged. Ends with 20 and the first difference when "
          "something else comes.",
          {"photometer replay trouble.trace", "photometer replay trouble.trace --show"},
          false},
      CommandEntry{"board check",
                   "whether everything that the board file names can be used",
                   Make<BoardCheckCommand>,
                   "Opens ports, pins, folders and registry, tells what works and what does not, and how to mend it. "
                   "Nothing is started.",
                   {"photometer board check", "photometer board check /etc/photometer/board.toml"},
                   false},
  };
}

/// Of files and numbers; without an instrument.
std::vector<CommandEntry> FileCommands() {
  return {
      CommandEntry{
          "settings init",
          "make a settings file with the delivery values",
          Make<SettingsInitCommand>,
          "The coefficients of the wavelength scale are those of no instrument yet. A file that is there already "
          "is only replaced with --force.",
          {"photometer settings init settings.cfg"}},
      CommandEntry{"settings show",
                   "what a settings file holds",
                   Make<SettingsShowCommand>,
                   "Tells each key, its value and what it means. Without a file, the one in the instrument's folder.",
                   {"photometer settings show settings.cfg", "photometer settings show settings.cfg --format json"}},
      CommandEntry{
          "settings set",
          "change one value of a settings file",
          Make<SettingsSetCommand>,
          "Checks key and value, and leaves every other byte of the file as it is. The file is replaced whole.",
          {"photometer settings set Peak1 360.9 --settings settings.cfg"}},
      CommandEntry{
          "settings check",
          "find what is wrong in a settings file",
          Make<SettingsCheckCommand>,
          "Names each key that is missing, doubled, unknown or out of range, with its line and what to do. Ends "
          "with 17 when something is wrong beyond notes.",
          {"photometer settings check settings.cfg"}},
      CommandEntry{"log",
                   "the device log, or the error list",
                   Make<LogCommand>,
                   "Shows the log of an instrument's folder, or the error list of its memory card with each number "
                   "explained. Damaged lines are shown as such.",
                   {"photometer log --errors --since 2h --root ."}},
      CommandEntry{
          "explain",
          "an error number in words",
          Make<ExplainCommand>,
          "Tells the operation that an error number belongs to, the cause, and what to do. Without a number, all "
          "of them.",
          {"photometer explain 132", "photometer explain -3"}},
  };
}

std::vector<CommandEntry> AllCommands() {
  std::vector<CommandEntry> all;
  for (const std::vector<CommandEntry>& some :
       {MeasuringCommands(), SelfTests(), AttendedCommands(), FileCommands(), OtherCommands()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

}  // namespace

std::span<const CommandEntry> Commands() {
  static const std::vector<CommandEntry> entries = AllCommands();
  return entries;
}

const CommandEntry* FindCommand(const std::string& name) {
  const auto entries = Commands();
  const auto entry =
      std::find_if(entries.begin(), entries.end(), [&name](const CommandEntry& one) { return one.name == name; });
  return entry == entries.end() ? nullptr : &*entry;
}

}  // namespace host
