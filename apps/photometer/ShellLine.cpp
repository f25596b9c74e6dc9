#include "ShellLine.h"

#include <algorithm>
#include <array>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Conclusion.h"
#include "Words.h"

namespace host {

namespace {

const ShellWord* FindWord(const std::string& name) {
  const auto words = ShellWords();
  const auto found =
      std::find_if(words.begin(), words.end(), [&name](const ShellWord& one) { return one.name == name; });
  return found == words.end() ? nullptr : &*found;
}

ExitCode StartUpWord(const std::vector<std::string>&, Console& console) { return StartUpAgain(console); }

ExitCode Help(const std::vector<std::string>& words, Console& console) {
  if (words.size() == 1) {
    return Print(console, ShellOverview());
  }
  // Checked by `ComplainAboutWord`.
  const auto named = FindNamedCommand({words.begin() + 1, words.end()});
  return Print(console, CommandCall(*std::get<NamedCommand>(named).pEntry, console.pWorkplace).App().help());
}

ExitCode Quit(const std::vector<std::string>&, Console&) { return ExitCode::Success; }

/// What is wrong with a line that begins with a word of the shell's own.
std::string ComplainAboutWord(const std::vector<std::string>& words) {
  if (words.front() == "help") {
    const auto named = words.size() == 1 ? NamedCommand{} : FindNamedCommand({words.begin() + 1, words.end()});
    const auto* pComplaint = std::get_if<std::string>(&named);
    return pComplaint == nullptr ? std::string() : *pComplaint;
  }
  return words.size() == 1 ? std::string() : fmt::format("\"{}\" takes nothing; leave the rest out", words.front());
}

/// A name that is near among all that a shell knows.
std::string ShellHint(const std::string& name) {
  std::vector<std::string> names;
  for (const ShellWord& word : ShellWords()) {
    names.push_back(word.name);
  }
  return Hint(name, names);
}

std::vector<std::string> SplitAt(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::size_t nBegin = 0;
  for (std::size_t nEnd = 0; nEnd != std::string::npos; nBegin = nEnd + 1) {
    nEnd = text.find(separator, nBegin);
    parts.push_back(text.substr(nBegin, nEnd == std::string::npos ? nEnd : nEnd - nBegin));
  }
  return parts;
}

/// Words that may stand behind complete ones.
std::vector<std::string> NextWords(const std::vector<std::string>& words, Workplace& workplace) {
  std::vector<std::string> next;
  const bool bHelp = !words.empty() && words.front() == "help";
  const std::vector<std::string> name(words.begin() + (bHelp ? 1 : 0), words.end());
  const auto named = name.empty() ? std::variant<NamedCommand, std::string>(std::string()) : FindNamedCommand(name);
  if (const auto* pNamed = std::get_if<NamedCommand>(&named)) {
    const CommandCall call(*pNamed->pEntry, &workplace);
    const CLI::Option* pOption = pNamed->options.empty() ? nullptr : call.App().get_option_no_throw(words.back());
    if (pOption != nullptr && pOption->get_type_name().find('|') != std::string::npos) {
      return SplitAt(pOption->get_type_name(), '|');
    }
    return bHelp ? next : OptionNames(call.App());
  }
  const std::string begin = name.empty() ? std::string() : name.front() + " ";
  for (const CommandEntry* pEntry : ShellCommands()) {
    if (name.size() <= 1 && pEntry->name.starts_with(begin)) {
      const std::string rest = pEntry->name.substr(begin.size());
      next.push_back(rest.substr(0, rest.find(' ')));
    }
  }
  for (const ShellWord& word : ShellWords()) {
    if (words.empty()) {
      next.push_back(word.name);
    }
  }
  return next;
}

}  // namespace

std::span<const ShellWord> ShellWords() {
  static const std::array words = {
      ShellWord{"start-up", "start the instrument up, again when it is on", StartUpWord},
      ShellWord{"help", "this list, or \"help COMMAND\"", Help},
      ShellWord{"quit", "switch the instrument off and end", Quit},
  };
  return words;
}

std::vector<const CommandEntry*> ShellCommands() {
  std::vector<const CommandEntry*> commands;
  for (const CommandEntry& entry : Commands()) {
    if (entry.bJoins) {
      commands.push_back(&entry);
    }
  }
  return commands;
}

std::string ShellOverview() {
  std::string text = "Commands (\"help COMMAND\" tells their options):\n";
  for (const CommandEntry* pEntry : ShellCommands()) {
    text += fmt::format("  {:<18} {}\n", pEntry->name, pEntry->summary);
  }
  for (const ShellWord& word : ShellWords()) {
    text += fmt::format("  {:<18} {}\n", word.name, word.summary);
  }
  return text;
}

std::variant<ShellLine, std::string> ShellLine::Parse(const std::vector<std::string>& words, Workplace& workplace) {
  ShellLine line;
  line.m_words = words;
  if (words.empty()) {
    return line;
  }
  line.m_pWord = FindWord(words.front());
  if (line.m_pWord != nullptr) {
    const std::string complaint = ComplainAboutWord(words);
    return complaint.empty() ? std::variant<ShellLine, std::string>(std::move(line)) : complaint;
  }
  const auto found = FindNamedCommand(words);
  if (const auto* pComplaint = std::get_if<std::string>(&found)) {
    const std::string hint = pComplaint->find("did you mean") == std::string::npos ? ShellHint(words.front()) : "";
    return *pComplaint + hint;
  }
  const auto& named = std::get<NamedCommand>(found);
  if (!named.pEntry->bJoins) {
    return fmt::format("\"{}\" does not work in a shell or script; call \"photometer {}\"", named.pEntry->name,
                       named.pEntry->name);
  }
  line.m_pCall = std::make_unique<CommandCall>(*named.pEntry, &workplace);
  if (const std::string complaint = line.m_pCall->Parse(named.options); !complaint.empty()) {
    return fmt::format("{}; \"help {}\" tells what is possible", complaint, named.pEntry->name);
  }
  return line;
}

ExitCode ShellLine::Run(Console& console) {
  if (m_pWord != nullptr) {
    console.pWorkplace->NoteLine(m_pWord->name, {});
    return m_pWord->run(m_words, console);
  }
  if (!m_pCall->AsksForHelp() && WorksOnInstrument(m_pCall->Entry())) {
    console.pWorkplace->NoteLine(m_pCall->Entry().name, TakeOptions(m_pCall->App()));
  }
  return m_pCall->Run(console);
}

ExitCode StartUpAgain(Console& console) {
  Workplace& workplace = *console.pWorkplace;
  if (!workplace.MakeSession(console)) {
    return ExitCode::StartUpFailed;
  }
  const Bench bench = workplace.BenchFor(console);
  bench.session.Shutdown();
  const ExitCode code =
      Conclude(workplace.StartUp(AfterFailure::StayOn), "start-up", ExitCode::StartUpFailed, bench.progress);
  bench.progress.EndRun();
  return code;
}

std::vector<std::string> CompleteLine(const std::string& text, Workplace& workplace) {
  const std::size_t nWord = text.find_last_of(' ') + 1;
  const auto words = SplitWords(text.substr(0, nWord));
  if (!std::holds_alternative<std::vector<std::string>>(words)) {
    return {};  // within quotes
  }
  std::vector<std::string> next = NextWords(std::get<std::vector<std::string>>(words), workplace);
  const std::string begin = text.substr(nWord);
  std::erase_if(next, [&begin](const std::string& word) { return !word.starts_with(begin); });
  std::sort(next.begin(), next.end());
  next.erase(std::unique(next.begin(), next.end()), next.end());
  return next;
}

}  // namespace host
