/// The manual page photometer-simulator(1).
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace serving {

/// The page in roff; the options are those of the program.
std::string SimulatorPage(const CLI::App& app);

}  // namespace serving
