#include "Script.h"

#include <filesystem>
#include <map>

#include <fmt/format.h>

#include "ByteText.h"
#include "ShellLine.h"
#include "Words.h"

namespace host {

namespace {

constexpr int MostLines = 10'000;
constexpr std::size_t LongestLine = 64U << 10;

/// The value of an option among words, given as `--name value` or `--name=value`; empty when it is not there.
std::string ValueOf(const std::vector<std::string>& words, const std::string& option) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i].starts_with(option + "=")) {
      return words[i].substr(option.size() + 1);
    }
    if (words[i] == option && i + 1 < words.size()) {
      return words[i + 1];
    }
  }
  return {};
}

std::vector<std::string> Without(const std::vector<std::string>& words, const std::string& option) {
  std::vector<std::string> rest;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == option) {
      ++i;
    } else if (!words[i].starts_with(option + "=")) {
      rest.push_back(words[i]);
    }
  }
  return rest;
}

/// Files that the lines before write, with the number of the line.
class PlannedFiles {
 public:
  /// What is wrong with the files of the line.
  std::string Take(const std::vector<std::string>& words, int iLine) {
    const bool bForce = std::find(words.begin(), words.end(), "--force") != words.end();
    for (const char* option : {"--output", "--plot"}) {
      const std::string path = ValueOf(words, option);
      const auto before = m_lines.find(path);
      if (before != m_lines.end() && !bForce) {
        return fmt::format("{}: line {} writes {} too; give another name, or --force to replace it", option,
                           before->second, path);
      }
      if (!path.empty()) {
        m_lines[path] = iLine;
      }
    }
    return {};
  }
  [[nodiscard]] bool Has(const std::string& path) const { return m_lines.contains(path); }

 private:
  std::map<std::string, int> m_lines;
};

}  // namespace

std::variant<Script, std::string> Script::Read(std::istream& text, const std::string& source) {
  Script script;
  script.m_strSource = source;
  std::string complaints;
  std::string line;
  for (int iNumber = 1; std::getline(text, line); ++iNumber) {
    auto words = SplitWords(line);
    const auto* pComplaint = std::get_if<std::string>(&words);
    if (iNumber > MostLines || line.size() > LongestLine || line.find('\0') != std::string::npos) {
      return fmt::format("{}:{}: this is no script: it is too long, or not text", source, iNumber);
    }
    if (pComplaint != nullptr) {
      complaints += fmt::format("{}:{}: {}\n", source, iNumber, *pComplaint);
    } else if (!std::get<std::vector<std::string>>(words).empty()) {
      script.m_lines.push_back({iNumber, std::move(std::get<std::vector<std::string>>(words))});
    }
  }
  if (text.bad()) {
    return fmt::format("{}: it cannot be read to its end", source);
  }
  if (!complaints.empty()) {
    return complaints;
  }
  return script;
}

std::string Script::Place(const Line& line) const { return fmt::format("{}:{}", m_strSource, line.iNumber); }

std::string Script::Check(Workplace& workplace) const {
  std::string complaints;
  PlannedFiles planned;
  for (const Line& line : m_lines) {
    const std::string blank = ValueOf(line.words, "--blank");
    const bool bComesLater = planned.Has(blank) && !std::filesystem::exists(blank);
    const auto parsed = ShellLine::Parse(bComesLater ? Without(line.words, "--blank") : line.words, workplace);
    const auto* pComplaint = std::get_if<std::string>(&parsed);
    const std::string complaint = pComplaint != nullptr ? *pComplaint : planned.Take(line.words, line.iNumber);
    if (!complaint.empty()) {
      complaints += fmt::format("{}: {}\n", Place(line), complaint);
    }
  }
  return complaints;
}

ExitCode Script::Run(Console& console, bool bKeepGoing) const {
  ExitCode first = ExitCode::Success;
  for (const Line& line : m_lines) {
    if (line.words.front() == "quit") {
      break;
    }
    const ExitCode code = console.interrupt.Count() > 0 ? ExitCode::Cancelled : RunLine(line, console);
    first = first == ExitCode::Success ? code : first;
    if (code == ExitCode::Cancelled || (code != ExitCode::Success && !bKeepGoing)) {
      break;
    }
  }
  return first;
}

ExitCode Script::RunLine(const Line& line, Console& console) const {
  const auto tell = [&](const std::string& text) {
    console.messages << Harmless(fmt::format("{}: {}\n", Place(line), text)) << std::flush;
  };
  tell(fmt::format("{}", fmt::join(line.words, " ")));
  // Checked again: what earlier lines have written is there by now.
  auto parsed = ShellLine::Parse(line.words, *console.pWorkplace);
  const auto* pComplaint = std::get_if<std::string>(&parsed);
  const ExitCode code = pComplaint != nullptr ? ExitCode::BadInput : std::get<ShellLine>(parsed).Run(console);
  if (code != ExitCode::Success) {
    tell(pComplaint != nullptr ? *pComplaint : ExitCodeText(code));
  }
  return code;
}

}  // namespace host
