#include "ManualPage.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "CommandCall.h"
#include "logging/LogFiles.h"

namespace host {

namespace {

/// Text as man shows it letter for letter.
std::string Plain(const std::string& text) {
  std::string plain;
  for (const char character : text) {
    if (character == '\\') {
      plain += "\\e";
    } else if (character == '-') {
      plain += "\\-";
    } else {
      plain += character;
    }
  }
  // A point or an apostrophe at the beginning of a line would make a request of it.
  return plain.starts_with('.') || plain.starts_with('\'') ? "\\&" + plain : plain;
}

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text;
}

std::string Head(const std::string& page, const std::string& summary) {
  std::string version;
  photometer::GetLibraryVersionText(&version);
  return fmt::format(".TH \"{}\" 1 \"\" \"photometer {}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n", Plain(Upper(page)),
                     Plain(version), Plain(page), Plain(summary));
}

std::string Item(const std::string& term, const std::string& text) {
  return fmt::format(".TP\n{}\n{}\n", term, Plain(text));
}

std::string ExitStatus() {
  std::string text = ".SH EXIT STATUS\n";
  for (const ExitCodeEntry& entry : ExitCodes()) {
    text += Item(fmt::format(".B {}", static_cast<int>(entry.code)), fmt::format("{}: {}", entry.name, entry.meaning));
  }
  return text;
}

std::string Examples(const CommandEntry& entry) {
  std::string text = entry.examples.empty() ? "" : ".SH EXAMPLES\n";
  for (const std::string& example : entry.examples) {
    text += fmt::format(".PP\n.nf\n{}\n.fi\n", Plain(example));
  }
  return text;
}

std::string OptionText(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) {
    names += fmt::format("\\fB\\-{}\\fR, ", Plain(name));
  }
  for (const std::string& name : option.get_lnames()) {
    names += fmt::format("\\fB\\-\\-{}\\fR, ", Plain(name));
  }
  if (option.get_positional()) {
    names += fmt::format("\\fI{}\\fR, ", Plain(Upper(option.get_name(true))));
  }
  names.resize(names.size() - 2);
  // The type of a flag is a list of what may follow "=".
  if (option.get_items_expected_max() > 0 && !option.get_positional()) {
    names += fmt::format(" \\fI{}\\fR", Plain(option.get_type_name()));
  }
  const std::string standard = option.get_default_str();
  return Item(names,
              option.get_description() + (standard.empty() ? std::string() : fmt::format(" (default: {})", standard)));
}

/// What stands behind the command without a name.
std::string Positionals(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* pOption : app.get_options([](const CLI::Option* one) { return one->get_positional(); })) {
    const std::string name = fmt::format("\\fI{}\\fR", Plain(Upper(pOption->get_name(true))));
    text += pOption->get_required() ? " " + name : " [" + name + "]";
  }
  return text;
}

std::string OptionSections(const CLI::App& app) {
  std::string text = ".SH OPTIONS\n";
  for (const std::string& group : app.get_groups()) {
    const auto options =
        app.get_options([&group](const CLI::Option* pOption) { return pOption->get_group() == group; });
    if (group.empty() || options.empty()) {
      continue;
    }
    text += group == "Options" ? "" : fmt::format(".SS \"{}\"\n", Plain(group));
    for (const CLI::Option* pOption : options) {
      text += OptionText(*pOption);
    }
  }
  return text;
}

constexpr std::array Files = {
    std::pair("/etc/photometer/board.toml", "the board file, unless --board or PHOTOMETER_BOARD names another one"),
    std::pair("~/.local/state/photometer/history", "lines of the shell, below XDG_STATE_HOME when that is set"),
};

}  // namespace

std::string ManualPageName(const CommandEntry& entry) {
  std::string name = "photometer-" + entry.name;
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string ProgramManualPage() {
  std::string text = Head("photometer", "measures with the photometer, or with a simulated one");
  text +=
      ".SH SYNOPSIS\n\\fBphotometer\\fR \\fICOMMAND\\fR [\\fIOPTION\\fR]...\n.br\n\\fBphotometer\\fR "
      "\\fICOMMAND\\fR \\fB\\-\\-help\\fR\n.br\n\\fBphotometer\\fR \\fB\\-\\-version\\fR\n.SH COMMANDS\n";
  std::string pages;
  for (const CommandEntry& entry : Commands()) {
    text += Item(fmt::format(".B {}", Plain(entry.name)), entry.summary);
    pages += fmt::format("{}.BR {} (1)", pages.empty() ? "" : " ,\n", Plain(ManualPageName(entry)));
  }
  text += ExitStatus() + ".SH ENVIRONMENT\n" +
          Item(".B PHOTOMETER_BOARD", "the board file, unless --board names another one") + ".SH FILES\n";
  for (const auto& [path, meaning] : Files) {
    text += Item(fmt::format(".I {}", Plain(path)), meaning);
  }
  return text + ".SH SEE ALSO\n" + pages + "\n";
}

std::string CommandManualPage(const CommandEntry& entry) {
  const CommandCall call(entry, nullptr);
  std::string text = Head(ManualPageName(entry), entry.summary);
  text += fmt::format(".SH SYNOPSIS\n\\fB{}\\fR{} [\\fIOPTION\\fR]...\n", Plain(call.Name()), Positionals(call.App()));
  if (!entry.description.empty()) {
    text += ".SH DESCRIPTION\n" + Plain(entry.description) + "\n";
  }
  return text + OptionSections(call.App()) + ExitStatus() + Examples(entry) + ".SH SEE ALSO\n.BR photometer (1)\n";
}

std::string WriteManualPages(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  const auto write = [&folder](const std::string& name, const std::string& page) {
    std::ofstream file(std::filesystem::path(folder) / (name + ".1"), std::ios::binary);
    return static_cast<bool>(file << page << std::flush);
  };
  bool bWritten = write("photometer", ProgramManualPage());
  for (const CommandEntry& entry : Commands()) {
    bWritten = bWritten && write(ManualPageName(entry), CommandManualPage(entry));
  }
  return bWritten ? std::string() : fmt::format("{} cannot be written; give a folder that you may write to", folder);
}

}  // namespace host
