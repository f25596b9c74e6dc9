/// `photometer lamp uv on|off`: the deuterium lamp, with or without a session that the instrument watches over.
#pragma once

#include <optional>
#include <string>

#include "RunCommand.h"

namespace host {

class LampCommand final : public RunCommand {
 public:
  LampCommand() : RunCommand("lamp uv", Holder::AsItIs) {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_strEnd.empty(); }

  ExitCode SwitchOff(Bench& bench);
  ExitCode WarmUp(Bench& bench);
  /// Lit: until somebody or something ends it.
  void Stay(Bench& bench);
  [[nodiscard]] std::string WhyOff() const;

  std::string m_strState;
  DWORD m_dwSession = 0;
  std::optional<DWORD> m_dwWarmUp;
  std::optional<DWORD> m_dwSeconds;
  bool m_bLit = false;
  DWORD m_dwLitSeconds = 0;
  std::string m_strEnd;
};

}  // namespace host
