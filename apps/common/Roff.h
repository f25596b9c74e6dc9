/// Manual pages in roff, made of the same options that the help text shows.
#pragma once

#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace common {

/// The text as man shows it letter for letter: what roff would take for its own is escaped.
std::string RoffText(std::string_view text);

/// Title and section NAME of a page in section 1, with the version that was built.
std::string RoffHead(std::string_view page, std::string_view summary);

/// The heading of a section, in capitals as on every page.
std::string RoffSection(std::string_view heading);

/// A tagged paragraph. The term is roff already, the text is not.
std::string RoffItem(std::string_view term, std::string_view text);

/// What stands behind a command without a name: each argument with a space before it.
std::string RoffPositionals(const CLI::App& app);

/// The section OPTIONS: a tagged paragraph for each option of the help text, in its order. Groups other than the first
/// have headings.
std::string RoffOptions(const CLI::App& app);

}  // namespace common
