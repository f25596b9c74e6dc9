/// The form in which a command lists what it found: text for people, or JSON.
#pragma once

namespace CLI {
class App;
}

namespace host {

/// Adds `--format table|json`.
void AddListingFormat(CLI::App& app, bool& bJson);

}  // namespace host
