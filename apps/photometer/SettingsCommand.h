/// `photometer settings`: shows, makes, changes and checks settings files.
#pragma once

#include <string>
#include <variant>

#include "Arguments.h"
#include "Command.h"
#include "InstrumentFolder.h"
#include "SettingsFile.h"

namespace host {

/// The settings file that a command is about: `--settings FILE`, or the one in the instrument's folder.
class SettingsPlace {
 public:
  void AddTo(CLI::App& app);
  /// Throws `CLI::ValidationError` for options that do not go together. A word that names the file may be empty.
  void Check(const std::string& word);
  /// The path, with an empty complaint, or what is wrong.
  [[nodiscard]] std::string Find(std::string& complaint);

 private:
  std::string m_strFile;
  InstrumentFolder m_folder;
};

/// What a file holds, in words or as JSON.
class SettingsShowCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  SettingsPlace m_place;
  Arguments m_arguments;
  bool m_bJson = false;
};

/// A new file with the delivery values.
class SettingsInitCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  SettingsPlace m_place;
  Arguments m_arguments;
  bool m_bForce = false;
};

/// Another value of one key; all other bytes of the file remain.
class SettingsSetCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  SettingsPlace m_place;
  Arguments m_arguments;
  const photometer::SettingsKey* m_pKey = nullptr;
  /// As the file will have it.
  std::string m_strValue;
};

/// Everything that is wrong in a file.
class SettingsCheckCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  SettingsPlace m_place;
  Arguments m_arguments;
  bool m_bJson = false;
};

}  // namespace host
