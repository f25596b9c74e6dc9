#include "CommandLine.h"

#include <algorithm>

#include <fmt/format.h>

#include "Commands.h"
#include "Suggestion.h"
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

std::string Hint(const std::string& word, const std::vector<std::string>& candidates) {
  const std::string nearest = Nearest(word, candidates);
  return nearest.empty() ? std::string() : fmt::format("; did you mean \"{}\"?", nearest);
}

ExitCode Complain(Console& console, const std::string& text, const std::string& helpCall) {
  console.messages << "photometer: " << text << "\nNothing was started. \"" << helpCall
                   << "\" tells what is possible.\n";
  return ExitCode::BadInput;
}

ExitCode ComplainAboutCommand(Console& console, const std::string& name) {
  std::vector<std::string> names;
  std::string continuations;
  for (const CommandEntry& entry : Commands()) {
    names.push_back(entry.name);
    if (entry.name.starts_with(name + " ")) {
      continuations += (continuations.empty() ? "" : " or ") + entry.name;
    }
  }
  const std::string text = continuations.empty() ? fmt::format("there is no command \"{}\"{}", name, Hint(name, names))
                                                 : fmt::format("\"{}\" is half a command; say {}", name, continuations);
  return Complain(console, text, "photometer --help");
}

/// What is wrong with arguments that no option took.
std::string ComplainAboutExtras(const CLI::App& app) {
  const std::vector<std::string> extras = app.remaining(true);
  const auto wrong = std::find_if(extras.begin(), extras.end(), [](const std::string& one) { return one[0] == '-'; });
  if (wrong == extras.end()) {
    return fmt::format("\"{}\" belongs to no option; write --option value", extras.empty() ? "" : extras.front());
  }
  const std::string name = wrong->substr(0, wrong->find('='));
  std::vector<std::string> names;
  for (const CLI::Option* pOption : app.get_options()) {
    for (const std::string& longName : pOption->get_lnames()) {
      names.push_back("--" + longName);
    }
  }
  return fmt::format("there is no option \"{}\"{}", name, Hint(name, names));
}

ExitCode ParseAndRun(const CommandEntry& entry, std::vector<std::string> arguments, Console& console) {
  CLI::App app(entry.summary, "photometer " + entry.name);
  app.footer("Exit codes:\n" + ExitCodeTable());
  const std::unique_ptr<Command> pCommand = entry.make();
  if (console.pWorkplace != nullptr) {
    pCommand->Join(*console.pWorkplace);
  }
  pCommand->AddOptions(app);
  const std::string helpCall = "photometer " + entry.name + " --help";
  std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
  try {
    app.parse(arguments);
    pCommand->Check();
  } catch (const CLI::CallForHelp&) {
    console.results << app.help();
    return ExitCode::Success;
  } catch (const CLI::ExtrasError&) {
    return Complain(console, ComplainAboutExtras(app), helpCall);
  } catch (const CLI::Error& error) {
    return Complain(console, error.what(), helpCall);
  }
  return pCommand->Run(console);
}

}  // namespace

ExitCode RunCommandLine(const std::vector<std::string>& arguments, Console& console) {
  if (arguments.empty()) {
    console.messages << Overview();
    return ExitCode::BadInput;
  }
  const std::string& name = arguments.front();
  if (name == "--help" || name == "-h") {
    console.results << Overview();
    return ExitCode::Success;
  }
  if (name == "--version") {
    std::string version;
    photometer::GetLibraryVersionText(&version);
    console.results << "photometer, library " << version << "\n";
    return ExitCode::Success;
  }
  if (const CommandEntry* pEntry = FindCommand(name)) {
    return ParseAndRun(*pEntry, {arguments.begin() + 1, arguments.end()}, console);
  }
  // Some names have two words.
  const bool bSecondWord = arguments.size() > 1 && !arguments[1].starts_with('-');
  const std::string twoWords = bSecondWord ? name + " " + arguments[1] : name;
  if (const CommandEntry* pEntry = FindCommand(twoWords)) {
    return ParseAndRun(*pEntry, {arguments.begin() + 2, arguments.end()}, console);
  }
  return ComplainAboutCommand(console, twoWords);
}

}  // namespace host
