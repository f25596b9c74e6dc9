/// `photometer measure`: start-up, then readings at a list of wavelengths.
#pragma once

#include <string>
#include <vector>

#include "MeasureReport.h"
#include "References.h"
#include "RunCommand.h"
#include "photometer/Requests.h"

namespace host {

class MeasureCommand final : public RunCommand {
 public:
  MeasureCommand() : RunCommand("measure", Holder::DrawnSample) {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void Prepare() override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_report.wavelengths.empty(); }
  ExitCode Judge(Console& console) const override;

  void AddReferences();
  void AddExpectations(const SimulatedInstrument& instrument);
  [[nodiscard]] photometer::MeasureRequest Request() const;

  std::string m_strWavelengths;
  std::vector<double> m_wavelengths;
  References m_references;
  MeasureReport m_report;
  DWORD m_dwReadings = 1;
  bool m_bDemo = false;
};

}  // namespace host
