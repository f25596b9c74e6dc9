#include "Record.h"

#include <charconv>
#include <fstream>
#include <sstream>

namespace explorer {

using photometer::platform::DecisionList;

namespace {

constexpr std::string_view FirstLine = "photometer-explore record 1";

/// Takes a line that is not the plan's. False: it is none.
bool TakeOwnLine(std::string_view key, std::string_view rest, Record* pRecord) {
  if (key == "seed") {
    const auto [pEnd, error] = std::from_chars(rest.data(), rest.data() + rest.size(), pRecord->seed);
    return error == std::errc() && pEnd == rest.data() + rest.size();
  }
  if (key == "violated") {
    pRecord->violation.property = rest;
    return true;
  }
  if (key == "text") {
    pRecord->violation.text = rest;
    return true;
  }
  if (key != "decision") {
    return false;
  }
  const std::optional<DecisionList> decisions = photometer::platform::ParseDecisions(rest);
  if (!decisions || decisions->size() != 1) {
    return false;
  }
  pRecord->decisions.push_back(decisions->front());
  return true;
}

bool IsOwnKey(std::string_view key) { return key == "seed" || key == "violated" || key == "text" || key == "decision"; }

bool TakeLine(std::string_view line, Record* pRecord, std::string* pWrong) {
  const std::size_t nEnd = std::min(line.find(' '), line.size());
  const std::string_view key = line.substr(0, nEnd);
  if (!IsOwnKey(key)) {
    return TakePlanLine(line, &pRecord->plan, pWrong);
  }
  *pWrong = "\"" + std::string(line) + "\" cannot be read";
  return TakeOwnLine(key, line.substr(std::min(nEnd + 1, line.size())), pRecord);
}

std::string OneLine(std::string text) {
  for (char& character : text) {
    if (static_cast<unsigned char>(character) < ' ') {
      character = ' ';
    }
  }
  return text;
}

}  // namespace

RunOptions Record::Options() const {
  RunOptions options;
  options.seed = seed;
  options.decisions = decisions;
  return options;
}

std::string ToText(const Record& record) {
  std::string text = std::string(FirstLine) + "\nseed " + std::to_string(record.seed) + "\nviolated " +
                     record.violation.property + "\ntext " + OneLine(record.violation.text) + '\n' +
                     ToText(record.plan);
  std::istringstream decisions(photometer::platform::ToText(record.decisions));
  for (std::string line; std::getline(decisions, line);) {
    text += "decision " + line + '\n';
  }
  return text;
}

std::optional<Record> ParseRecord(std::string_view text, std::string* pWrong) {
  Record record;
  std::size_t nLine = 0;
  for (std::size_t nStart = 0; nStart < text.size();) {
    const std::size_t nEnd = std::min(text.find('\n', nStart), text.size());
    const std::string_view line = text.substr(nStart, nEnd - nStart);
    nStart = nEnd + 1;
    if (++nLine == 1) {
      if (line != FirstLine) {
        *pWrong = "line 1: \"" + std::string(FirstLine) + "\" expected";
        return std::nullopt;
      }
      continue;
    }
    std::string wrong;
    if (!line.empty() && line[0] != '#' && !TakeLine(line, &record, &wrong)) {
      *pWrong = "line " + std::to_string(nLine) + ": " + wrong;
      return std::nullopt;
    }
  }
  if (nLine == 0) {
    *pWrong = "it is empty";
    return std::nullopt;
  }
  return record;
}

bool WriteRecord(const Record& record, const std::string& path) {
  std::ofstream file(path, std::ios::binary);
  file << ToText(record);
  file.close();
  return !file.fail();
}

std::optional<Record> ReadRecord(const std::string& path, std::string* pWrong) {
  const std::ifstream file(path, std::ios::binary);
  if (!file) {
    *pWrong = "it cannot be opened";
    return std::nullopt;
  }
  std::ostringstream text;
  text << file.rdbuf();
  return ParseRecord(text.str(), pWrong);
}

}  // namespace explorer
