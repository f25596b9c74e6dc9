/// A settings file of an instrument as a person's program sees it: what it holds, and what is wrong in it.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "photometer/Settings.h"
#include "settings/SettingsKeys.h"

namespace host {

/// The instrument reads no more of a file; above it nothing.
inline constexpr std::size_t SettingsFileLimit = 16U * 1024 * 1024;

struct SettingsFinding {
  /// 0: of the file as a whole.
  int iLine = 0;
  /// Empty for a line without one.
  std::string strKey;
  /// What is wrong, and what to do.
  std::string strText;
  /// Worth knowing, but the instrument takes the file all the same.
  bool bNote = false;
};

class SettingsFile {
 public:
  /// The file of the path, or why it cannot be read.
  static std::variant<SettingsFile, std::string> Load(const std::string& path);
  /// The same from the file's bytes; the path is for messages.
  static SettingsFile Parse(const std::string& path, std::string_view text);

  [[nodiscard]] const std::string& Path() const { return m_strPath; }
  /// Delivery values where the file has none. Lists are as they stand in the file, not merged.
  [[nodiscard]] const photometer::InstrumentSettings& Settings() const { return m_settings; }
  /// The line of a key, from 1; of one that is there twice the last, which counts. 0: the file does not have it.
  [[nodiscard]] int LineOf(std::string_view key) const;
  /// A counted key that is there more than once: nobody can tell which line was meant.
  [[nodiscard]] bool IsDoubled(std::string_view key) const { return m_doubled.contains(key); }
  /// In the order of the lines; of a file full of nonsense the first ones.
  [[nodiscard]] const std::vector<SettingsFinding>& Findings() const { return m_findings; }
  /// The first finding about a key that is no note.
  [[nodiscard]] const SettingsFinding* Fault(std::string_view key) const;
  /// "FILE:7: key "Peak1": text".
  [[nodiscard]] std::string Message(const SettingsFinding& finding) const;

 private:
  void ReadLine(std::string_view raw, int iLine);
  void ReadKey(const photometer::SettingsKey& key, std::string_view raw, int iLine);
  void FindMissing();
  void FindContradictions();
  void Add(int iLine, std::string_view key, const std::string& text, bool bNote = false);
  [[nodiscard]] bool IsFull() const;

  std::string m_strPath;
  photometer::InstrumentSettings m_settings;
  std::map<std::string, int, std::less<>> m_lines;
  std::set<std::string, std::less<>> m_doubled;
  std::vector<SettingsFinding> m_findings;
};

/// The names of all keys.
std::vector<std::string> SettingsKeyNames();

}  // namespace host
