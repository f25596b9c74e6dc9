#include "CommandCall.h"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "../common/WrapText.h"
#include "ByteText.h"
#include "Conclusion.h"
#include "Suggestion.h"

namespace host {

namespace {

std::string HelpHead(const CommandEntry& entry) {
  const std::string head = entry.summary + "\n";
  return entry.description.empty() ? head : head + "\n" + common::WrapText(entry.description);
}

std::string HelpFoot(const CommandEntry& entry) {
  std::string text = "Exit codes:\n" + ExitCodeTable();
  if (!entry.examples.empty()) {
    text += entry.examples.size() == 1 ? "\nExample:\n" : "\nExamples:\n";
  }
  for (const std::string& example : entry.examples) {
    text += "  " + example + "\n";
  }
  return text;
}

/// The parser's own words for an option that lacks its value, is given twice, or is missing say not what to do.
std::string InPlainWords(const CLI::App& app, const CLI::Error& error) {
  std::string words = error.what();
  const std::string name = words.substr(0, words.find_first_of(": "));
  if (app.get_option_no_throw("--" + name) != nullptr) {  // of a flag it tells the name without its dashes
    return fmt::format("--{}: takes no value; leave out what follows the \"=\"", name);
  }
  const CLI::Option* pOption = app.get_option_no_throw(name);
  if (pOption == nullptr) {
    return words;
  }
  if (pOption->get_positional()) {
    return fmt::format("{}: is missing; give {} ({})", name, pOption->get_type_name(), pOption->get_description());
  }
  // An option that takes a list may be given again; then it is a value that is missing.
  const bool bTooOften = pOption->count() > static_cast<std::size_t>(pOption->get_items_expected_max());
  return bTooOften ? fmt::format("{}: is given {} times; give it once", name, pOption->count())
                   : fmt::format("{}: has no value; write {} {}", name, name, pOption->get_type_name());
}

bool IsOptionOf(const CLI::App& app, const std::string& name) {
  const std::vector<std::string> names = OptionNames(app);
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

CommandCall::CommandCall(const CommandEntry& entry, Workplace* pWorkplace)
    : m_entry(entry),
      m_pWorkplace(pWorkplace),
      m_app(HelpHead(entry), (pWorkplace == nullptr ? "photometer " : "") + entry.name),
      m_pCommand(entry.make()) {
  m_app.footer(HelpFoot(entry));
  if (pWorkplace != nullptr) {
    m_pCommand->Join(*pWorkplace);
  }
  m_pCommand->AddOptions(m_app);
  // The parser takes any number there, and throws at a large one what is no error of its own.
  for (CLI::Option* pOption : m_app.get_options()) {
    pOption->disable_flag_override(pOption->get_expected_max() == 0);
  }
}

std::string CommandCall::Parse(std::vector<std::string> options) {
  std::reverse(options.begin(), options.end());  // as the parser wants them
  try {
    m_app.parse(options);
    m_pCommand->Check();
  } catch (const CLI::CallForHelp&) {
    m_bHelp = true;
  } catch (const CLI::ExtrasError&) {
    return ComplainAboutExtras();
  } catch (const CLI::ArgumentMismatch& error) {
    return InPlainWords(m_app, error);
  } catch (const CLI::RequiredError& error) {
    return InPlainWords(m_app, error);
  } catch (const CLI::Error& error) {
    return error.what();
  }
  return {};
}

ExitCode CommandCall::Run(Console& console) {
  if (m_bHelp) {
    return Print(console, m_app.help());
  }
  // A line before this one may have told the loss.
  const bool bConcluded = m_pCommand->RunsLines() || !console.results;
  const ExitCode code = m_pCommand->Run(console);
  return bConcluded ? code : ConcludeOutput(console, code);
}

std::string CommandCall::ComplainAboutExtras() const {
  const std::vector<std::string> extras = m_app.remaining(true);
  const auto wrong = std::find_if(extras.begin(), extras.end(), [](const std::string& one) { return one[0] == '-'; });
  if (wrong == extras.end()) {
    return fmt::format("\"{}\" belongs to no option; write --option value", extras.empty() ? "" : extras.front());
  }
  const std::string name = wrong->substr(0, wrong->find('='));
  if (m_pWorkplace != nullptr && IsOptionOf(CommandCall(m_entry, nullptr).App(), name)) {
    return fmt::format(
        "\"{}\" counts from the start on, for all commands: leave it out here, and give it to \"photometer shell\" or "
        "\"photometer run\"",
        name);
  }
  return fmt::format("there is no option \"{}\"{}", name, Hint(name, OptionNames(m_app)));
}

std::variant<NamedCommand, std::string> FindNamedCommand(const std::vector<std::string>& words) {
  const std::string& first = words.front();
  if (const CommandEntry* pEntry = FindCommand(first)) {
    return NamedCommand{pEntry, {words.begin() + 1, words.end()}};
  }
  const bool bSecondWord = words.size() > 1 && !words[1].starts_with('-');
  const std::string name = bSecondWord ? first + " " + words[1] : first;
  if (const CommandEntry* pEntry = FindCommand(name)) {
    return NamedCommand{pEntry, {words.begin() + 2, words.end()}};
  }
  std::vector<std::string> names;
  std::string continuations;
  for (const CommandEntry& entry : Commands()) {
    names.push_back(entry.name);
    if (entry.name.starts_with(name + " ")) {
      continuations += (continuations.empty() ? "" : " or ") + entry.name;
    }
  }
  return continuations.empty() ? fmt::format("there is no command \"{}\"{}", name, Hint(name, names))
                               : fmt::format("\"{}\" is half a command; say {}", name, continuations);
}

bool WorksOnInstrument(const CommandEntry& entry) {
  return CommandCall(entry, nullptr).App().get_option_no_throw("--trace") != nullptr;
}

std::variant<std::unique_ptr<CommandCall>, Refusal> PrepareCommandCall(const std::vector<std::string>& words,
                                                                       Workplace* pWorkplace) {
  auto found = FindNamedCommand(words);
  if (const auto* pComplaint = std::get_if<std::string>(&found)) {
    return Refusal{*pComplaint, "photometer --help"};
  }
  auto& named = std::get<NamedCommand>(found);
  auto call = std::make_unique<CommandCall>(*named.pEntry, pWorkplace);
  if (const std::string complaint = call->Parse(std::move(named.options)); !complaint.empty()) {
    return Refusal{complaint, call->Name() + " --help"};
  }
  return call;
}

ExitCode Refuse(Console& console, const Refusal& refusal) {
  console.messages << "photometer: " << Harmless(refusal.text) << "\nNothing was started. \"" << refusal.helpCall
                   << "\" tells what is possible.\n";
  return ExitCode::BadInput;
}

std::string Hint(const std::string& word, const std::vector<std::string>& candidates) {
  const std::string nearest = Nearest(word, candidates);
  return nearest.empty() ? std::string() : fmt::format("; did you mean \"{}\"?", nearest);
}

std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* pOption : app.get_options()) {
    for (const std::string& longName : pOption->get_lnames()) {
      names.push_back("--" + longName);
    }
  }
  return names;
}

}  // namespace host
