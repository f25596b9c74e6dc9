#include "support/ManualPage.h"

#include <fstream>
#include <regex>

namespace photometer::tests {

namespace {

/// Words of a `.B` or `.BR` line that stand for themselves: what is in quotes is the text between them.
void AddTagWords(const std::string& line, const std::string& section, std::vector<std::string>& keys) {
  static const std::regex word("\"[^\"]*\"|(\\S+)");
  for (std::sregex_iterator at(line.begin() + static_cast<std::ptrdiff_t>(line.find(' ')), line.end(), word), end;
       at != end; ++at) {
    if ((*at)[1].matched) {
      keys.push_back(section + std::regex_replace((*at)[1].str(), std::regex("\\\\-"), "-"));
    }
  }
}

}  // namespace

std::vector<std::string> KeysOfManualPage(const std::string& page) {
  std::ifstream stream(std::string(PHOTOMETER_SOURCE_FOLDER) + "/docs/man/" + page);
  std::vector<std::string> keys;
  std::string section;
  bool bKeys = false;
  bool bTag = false;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with(".SH ")) {
      bKeys = line == ".SH KEYS";
    } else if (line.starts_with(".SS Section [")) {
      section = line.substr(13, line.find(']') - 13) + ".";
    } else if (bKeys && bTag && line.starts_with(".B")) {
      AddTagWords(line, section, keys);
    }
    bTag = line == ".TP" || line == ".TQ";
  }
  return keys;
}

}  // namespace photometer::tests
