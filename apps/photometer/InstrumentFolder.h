/// Where an instrument's files are on this host: the root folder of its board file, or one that is named.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace host {

class InstrumentFolder {
 public:
  /// Adds `--board` and `--root`.
  void AddTo(CLI::App& app);
  /// Throws `CLI::ValidationError` for both options together.
  void Check() const;
  /// Finds the folder. Returns what is wrong; empty when the paths below can be asked for.
  std::string Find();

  /// "/var/lib/photometer/NANDFlash/Logging/Photometer.log" for "NANDFlash/Logging/Photometer.log".
  [[nodiscard]] std::string At(const std::string& path) const { return m_strRoot + "/" + path; }
  /// The settings file, beside the program that the board file names.
  [[nodiscard]] std::string SettingsPath() const { return At(m_strProgramFolder + "/settings.cfg"); }

 private:
  std::string m_strBoardFile;
  std::string m_strRootOption;
  std::string m_strRoot;
  std::string m_strProgramFolder = "Application";
};

}  // namespace host
