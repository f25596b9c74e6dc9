/// `photometer measure`: start-up, then readings at a list of wavelengths.
#pragma once

#include <string>
#include <vector>

#include "BoardOptions.h"
#include "Command.h"
#include "InstrumentOptions.h"
#include "MeasureReport.h"
#include "ReportFormat.h"
#include "photometer/Requests.h"

namespace host {

class HostBoard;
class Progress;
class Session;
class SimulatedInstrument;

class MeasureCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  void PrepareDemo();
  /// Start-up, sample, run. What was delivered is in the report, whatever the end.
  ExitCode Measure(Console& console, HostBoard& board, MeasureReport& report);
  ExitCode PresentSample(Console& console, Progress& progress, HostBoard& board, Session& session);
  ExitCode RunMeasurement(Progress& progress, Session& session, MeasureReport& report);
  void AddZeroValues(Session& session, MeasureReport& report) const;
  void AddExpectations(const SimulatedInstrument& instrument, MeasureReport& report) const;
  [[nodiscard]] photometer::MeasureRequest Request() const;

  BoardOptions m_board;
  InstrumentOptions m_instrument;
  std::string m_strWavelengths;
  std::vector<double> m_wavelengths;
  DWORD m_dwReadings = 1;
  DWORD m_dwCuvetteWait = 0;
  OutputFormat m_format = OutputFormat::Table;
  bool m_bDemo = false;
};

}  // namespace host
