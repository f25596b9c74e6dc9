#include "support/ManualPage.h"

#include <fstream>
#include <regex>

namespace photometer::tests {

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
      // What is in quotes is the text between the keys.
      static const std::regex word("\\s\"[^\"]*\"|\\s(\\S+)");
      for (std::sregex_iterator at(line.begin(), line.end(), word), end; at != end; ++at) {
        const std::string key = std::regex_replace((*at)[1].str(), std::regex("\\\\-"), "-");
        if (!key.empty()) {
          keys.push_back(section + key);
        }
      }
    }
    bTag = line == ".TP" || line == ".TQ";
  }
  return keys;
}

}  // namespace photometer::tests
