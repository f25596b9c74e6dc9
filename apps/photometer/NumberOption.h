/// Options whose value is a number within a range. A value that is none, or outside, ends the parsing with a
/// `CLI::ValidationError` that names the option, the value and the range.
#pragma once

#include <cstdint>
#include <string>

#include "photometer/Types.h"

namespace CLI {
class App;
}

namespace host {

void AddIntegerOption(CLI::App& app, const std::string& name, std::uint64_t& value, std::uint64_t lowest,
                      std::uint64_t highest, const std::string& help);
void AddIntegerOption(CLI::App& app, const std::string& name, photometer::DWORD& value, photometer::DWORD lowest,
                      photometer::DWORD highest, const std::string& help);
void AddIntegerOption(CLI::App& app, const std::string& name, int& value, int lowest, int highest,
                      const std::string& help);
void AddRealOption(CLI::App& app, const std::string& name, double& value, double lowest, double highest,
                   const std::string& help);

}  // namespace host
