#include "CommandLine.h"

#include <fmt/format.h>

#include "CommandCall.h"
#include "Commands.h"
#include "Conclusion.h"
#include "ManualPage.h"
#include "logging/LogFiles.h"

namespace host {

namespace {

std::string Overview() {
  std::string text =
      "photometer: measures with the photometer, or with a simulated one\n\n"
      "  photometer COMMAND [OPTIONS]     photometer COMMAND --help     photometer --version\n\nCommands:\n";
  for (const CommandEntry& entry : Commands()) {
    text += fmt::format("  {:<18} {}\n", entry.name, entry.summary);
  }
  return text + "\nExit codes:\n" + ExitCodeTable();
}

/// For the build: a page on standard output, or all of them in a folder.
ExitCode PrintManual(const std::vector<std::string>& arguments, Console& console) {
  const std::string& what = arguments.size() > 1 ? arguments[1] : "photometer";
  if (arguments[0] == "--manual-pages") {
    const std::string complaint = arguments.size() > 1 ? WriteManualPages(what) : "a folder is missing";
    return complaint.empty() ? ExitCode::Success
                             : Refuse(console, {"--manual-pages: " + complaint, "photometer --help"});
  }
  const CommandEntry* pEntry = FindCommand(what);
  if (pEntry == nullptr && what != "photometer") {
    return Refuse(console, {fmt::format("--manual-page: there is no command \"{}\"", what), "photometer --help"});
  }
  return Print(console, pEntry == nullptr ? ProgramManualPage() : CommandManualPage(*pEntry));
}

ExitCode RunCommandCall(const std::vector<std::string>& arguments, Console& console) {
  const auto prepared = PrepareCommandCall(arguments, console.pWorkplace);
  const auto* pRefusal = std::get_if<Refusal>(&prepared);
  return pRefusal != nullptr ? Refuse(console, *pRefusal)
                             : std::get<std::unique_ptr<CommandCall>>(prepared)->Run(console);
}

}  // namespace

ExitCode RunCommandLine(const std::vector<std::string>& arguments, Console& console) {
  if (arguments.empty()) {
    console.messages << Overview();
    return ExitCode::BadInput;
  }
  const std::string& name = arguments.front();
  if (name == "--help" || name == "-h") {
    return Print(console, Overview());
  }
  if (name == "--version") {
    std::string version;
    photometer::GetLibraryVersionText(&version);
    return Print(console, "photometer, library " + version + "\n");
  }
  if (name == "--manual-page" || name == "--manual-pages") {
    return PrintManual(arguments, console);
  }
  return RunCommandCall(arguments, console);
}

}  // namespace host
