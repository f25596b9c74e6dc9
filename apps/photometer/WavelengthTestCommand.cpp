#include "WavelengthTestCommand.h"

#include <fmt/format.h>

namespace host {

namespace {

constexpr DWORD NotifyAttempt = 4;
constexpr DWORD NotifyPassed = 5;
constexpr DWORD NotifyZeros = 34;
constexpr photometer::LONG ErrorOffset = -2;

}  // namespace

void WavelengthTestCommand::CheckOwn() {
  AddSetting("peak", fmt::format("{}", m_instrument.Calibration().dReferencePeak));
}

ExitCode WavelengthTestCommand::Operate(Bench& bench) {
  const ExitCode code = RunOperation(
      bench, "wavelength test", [](photometer::IPhotometer& device) { return device.StartWaveLengthTest(); },
      [this](const HostEvent& event) {
        const std::optional<DWORD> notified = CodeOf(event);
        m_bRun = m_bRun || notified == NotifyAttempt;
        m_bZerosMeasured = m_bZerosMeasured || notified == NotifyZeros;
        m_verdict = notified == NotifyPassed ? Verdict::Passed : m_verdict;
      },
      EndNotice::AfterIdle);
  // The test does not look at a cancel: its attempts just fail.
  if (code == ExitCode::InstrumentError && bench.console.interrupt.Count() > 0) {
    bench.progress.Say("wavelength test cancelled");
    return ExitCode::Cancelled;
  }
  if (code == ExitCode::InstrumentError && m_header.error == ErrorOffset) {
    m_verdict = Verdict::Failed;
    return ExitCode::CheckFailed;
  }
  return code;
}

std::vector<CheckRow> WavelengthTestCommand::Rows() const {
  return {{"wavelength", fmt::format("holmium oxide peak at {} nm", m_instrument.Calibration().dReferencePeak),
           "5 steps off, at a repetition 15", m_verdict,
           "empty the cuvette holder, close the lid and repeat; if it comes back, have the monochromator serviced"}};
}

std::string WavelengthTestCommand::Results() const {
  std::string text = FormatCheck(m_header, Rows(), m_results.Format());
  if (m_results.Format() == OutputFormat::Table) {
    text += m_bZerosMeasured ? "The zero values were measured again.\n" : "";
    text += "Old and new correction, in steps, are in Photometer.log of the instrument.\n";
  }
  return text;
}

}  // namespace host
