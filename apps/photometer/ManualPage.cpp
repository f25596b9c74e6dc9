#include "ManualPage.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "../common/Roff.h"
#include "CommandCall.h"

namespace host {

using common::RoffHead;
using common::RoffItem;
using common::RoffOptions;
using common::RoffPositionals;
using common::RoffText;

namespace {

std::string ExitStatus() {
  std::string text = ".SH EXIT STATUS\n";
  for (const ExitCodeEntry& entry : ExitCodes()) {
    text +=
        RoffItem(fmt::format(".B {}", static_cast<int>(entry.code)), fmt::format("{}: {}", entry.name, entry.meaning));
  }
  return text;
}

std::string Examples(const CommandEntry& entry) {
  std::string text;
  for (const std::string& example : entry.examples) {
    text += fmt::format("{}.nf\n{}\n.fi\n", text.empty() ? ".SH EXAMPLES\n" : ".PP\n", RoffText(example));
  }
  return text;
}

constexpr std::array Files = {
    std::pair("/etc/photometer/board.toml", "the board file, unless --board or PHOTOMETER_BOARD names another one"),
    std::pair("~/.local/state/photometer/history", "lines of the shell, below XDG_STATE_HOME when that is set"),
};

}  // namespace

std::string ManualPageName(const CommandEntry& entry) {
  std::string name = "photometer-" + entry.name;
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string ProgramManualPage() {
  std::string text = RoffHead("photometer", "measures with the photometer, or with a simulated one");
  text +=
      ".SH SYNOPSIS\n\\fBphotometer\\fR \\fICOMMAND\\fR [\\fIOPTION\\fR]...\n.br\n\\fBphotometer\\fR "
      "\\fICOMMAND\\fR \\fB\\-\\-help\\fR\n.br\n\\fBphotometer\\fR \\fB\\-\\-version\\fR\n.SH DESCRIPTION\n"
      "Each command makes an instrument ready with its start-up self\\-test, does one thing and switches the "
      "instrument "
      "off; \\fBshell\\fR and \\fBrun\\fR do any number of things after one start\\-up. Results go to standard output "
      "or to "
      "the file of \\-\\-output, progress and messages to standard error. Without an instrument, \\-\\-simulate "
      "measures with a simulated one.\n.SH COMMANDS\n";
  std::string pages;
  for (const CommandEntry& entry : Commands()) {
    text += RoffItem(fmt::format(".B {}", RoffText(entry.name)), entry.summary);
    pages += fmt::format("{}.BR {} (1)", pages.empty() ? "" : " ,\n", RoffText(ManualPageName(entry)));
  }
  text += ExitStatus() + ".SH ENVIRONMENT\n" +
          RoffItem(".B PHOTOMETER_BOARD", "the board file, unless --board names another one") + ".SH FILES\n";
  for (const auto& [path, meaning] : Files) {
    text += RoffItem(fmt::format(".I {}", RoffText(path)), meaning);
  }
  return text + ".SH SEE ALSO\n" + pages +
         " ,\n.BR photometer\\-simulator (1),\n.BR photometer\\-board (5),\n.BR photometer\\-settings (5)\n";
}

std::string CommandManualPage(const CommandEntry& entry) {
  const CommandCall call(entry, nullptr);
  std::string text = RoffHead(ManualPageName(entry), entry.summary);
  text += fmt::format(".SH SYNOPSIS\n\\fB{}\\fR{} [\\fIOPTION\\fR]...\n", RoffText(call.Name()),
                      RoffPositionals(call.App()));
  if (!entry.description.empty()) {
    text += ".SH DESCRIPTION\n" + RoffText(entry.description) + "\n";
  }
  return text + RoffOptions(call.App()) + ExitStatus() + Examples(entry) + ".SH SEE ALSO\n.BR photometer (1)\n";
}

std::string WriteManualPages(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  const auto write = [&folder](const std::string& name, const std::string& page) {
    std::ofstream file(std::filesystem::path(folder) / (name + ".1"), std::ios::binary);
    return static_cast<bool>(file << page << std::flush);
  };
  bool bWritten = write("photometer", ProgramManualPage());
  for (const CommandEntry& entry : Commands()) {
    bWritten = bWritten && write(ManualPageName(entry), CommandManualPage(entry));
  }
  return bWritten ? std::string() : fmt::format("{} cannot be written; give a folder that you may write to", folder);
}

}  // namespace host
