/// The host file: what is not in the instrument's settings, written down instead of given as options each time.
///
/// Each line is the name of an option and its value: `pump-time = 12`, `parity = "even"`; docs/host-guide.md lists
/// them. An option on the command line goes before the file, the file before the settings file.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace host {

class OptionFile {
 public:
  /// Reads a file of at most 64 KiB. Throws `CLI::ValidationError` naming file, line and key for what cannot be read or
  /// is there twice.
  void Load(const std::string& path);
  /// The same from the file's text; the path is for messages.
  void Parse(const std::string& path, std::string_view text);

  /// Gives the values to the options of the groups that were not on the command line, that of `first` before all
  /// others. A value is checked as one of the command line; what the option throws is thrown anew with file, line and
  /// key. The same for a key that is no option of the groups.
  void ApplyTo(CLI::App& app, const std::vector<std::string>& groups, const std::string& first);

  /// Empty when none was loaded.
  [[nodiscard]] const std::string& Path() const { return m_strPath; }
  /// Throws `CLI::ValidationError` about an option ("--zeros"): naming file, line and key when its value came from
  /// here.
  [[noreturn]] void Complain(const std::string& option, const std::string& text) const;

 private:
  struct Entry {
    std::string key;
    std::string value;
    int iLine;
  };
  void ReadLine(std::string_view line, int iLine);
  void Apply(const Entry& entry, CLI::App& app, const std::vector<std::string>& groups);
  [[nodiscard]] std::string Place(int iLine) const;

  std::string m_strPath;
  std::vector<Entry> m_entries;
  /// Line of each option whose value came from here.
  std::map<std::string, int> m_applied;
};

}  // namespace host
