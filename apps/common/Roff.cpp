#include "Roff.h"

#include <algorithm>
#include <cctype>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace common {

namespace {

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char ch) { return std::toupper(ch); });
  return upper;
}

std::string OptionItem(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) {
    names += fmt::format("\\fB\\-{}\\fR, ", RoffText(name));
  }
  for (const std::string& name : option.get_lnames()) {
    names += fmt::format("\\fB\\-\\-{}\\fR, ", RoffText(name));
  }
  if (option.get_positional()) {
    names += fmt::format("\\fI{}\\fR, ", RoffText(UpperCase(option.get_name(true))));
  }
  names.resize(names.size() - 2);
  // The type of a flag is a list of what may follow "=".
  if (option.get_items_expected_max() > 0 && !option.get_positional()) {
    names += fmt::format(" \\fI{}\\fR", RoffText(option.get_type_name()));
  }
  const std::string standard = option.get_default_str();
  return RoffItem(
      names, option.get_description() + (standard.empty() ? std::string() : fmt::format(" (default: {})", standard)));
}

}  // namespace

std::string RoffText(std::string_view text) {
  std::string roff;
  bool bLineStart = true;
  for (const char ch : text) {
    // At the beginning of a line they would make a request of it.
    if (bLineStart && (ch == '.' || ch == '\'')) {
      roff += "\\&";
    }
    bLineStart = ch == '\n';
    // A plain hyphen may be shown as another character, which one cannot copy into a command line.
    roff += ch == '\\' ? "\\e" : ch == '-' ? "\\-" : std::string(1, ch);
  }
  return roff;
}

std::string RoffHead(std::string_view page, std::string_view summary) {
  return fmt::format(".TH \"{}\" 1 \"{}\" \"photometer {}\" \"User commands\"\n.SH NAME\n{} \\- {}\n",
                     RoffText(UpperCase(page)), PHOTOMETER_RELEASE_DATE, PHOTOMETER_RELEASE, RoffText(page),
                     RoffText(summary));
}

std::string RoffSection(std::string_view heading) { return fmt::format(".SH \"{}\"\n", RoffText(UpperCase(heading))); }

std::string RoffItem(std::string_view term, std::string_view text) {
  return fmt::format(".TP\n{}\n{}\n", term, RoffText(text));
}

std::string RoffPositionals(const CLI::App& app) {
  std::string roff;
  for (const CLI::Option* pOption : app.get_options([](const CLI::Option* one) { return one->get_positional(); })) {
    const std::string name = fmt::format("\\fI{}\\fR", RoffText(UpperCase(pOption->get_name(true))));
    roff += pOption->get_required() ? " " + name : " [" + name + "]";
  }
  return roff;
}

std::string RoffOptions(const CLI::App& app) {
  std::string roff = ".SH OPTIONS\n";
  for (const std::string& group : app.get_groups()) {
    const auto options =
        app.get_options([&group](const CLI::Option* pOption) { return pOption->get_group() == group; });
    // Options of the group without a name are hidden from the help text too.
    if (group.empty() || options.empty()) {
      continue;
    }
    roff += group == "Options" ? "" : fmt::format(".SS \"{}\"\n", RoffText(group));
    for (const CLI::Option* pOption : options) {
      roff += OptionItem(*pOption);
    }
  }
  return roff;
}

}  // namespace common
