/// The manual page photometer-simulator(1), and what the help text shares with it.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace serving {

/// What the help text has behind the options: commands and faults.
std::string SimulatorHelp();
/// The page in roff; the options are those of the program.
std::string SimulatorPage(const CLI::App& app);

}  // namespace serving
