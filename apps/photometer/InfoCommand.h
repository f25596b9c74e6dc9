/// `photometer info`: versions, lamp hours, pump, cuvette and status of the instrument.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "InfoTable.h"
#include "RunCommand.h"

namespace host {

class InfoCommand final : public RunCommand {
 public:
  InfoCommand() : RunCommand("info", Holder::AsItIs) {}

 private:
  void AddOwnOptions(CLI::App&) override {}
  void CheckOwn() override {}
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override { return FormatInfo(m_header, m_rows, m_results.Format()); }
  [[nodiscard]] bool HasResults() const override { return !m_rows.empty(); }
  [[nodiscard]] bool GoesOnAfterFailedStartUp() const override { return true; }

  void AddInstrument(photometer::IPhotometer& device);
  void AddLamps(photometer::IPhotometer& device);

  std::vector<InfoRow> m_rows;
};

}  // namespace host
