#include "SystemCheckCommand.h"

#include <array>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "NumberOption.h"

namespace host {

namespace {

using photometer::BOOL;
using photometer::SystemCheckStatus;

constexpr DWORD RequestId = 1;
constexpr DWORD StateRunning = 1;
constexpr DWORD StatePassed = 2;
// In the system check this tells no more than that the wavelength step is over.
constexpr DWORD NotifyWavelengthStepOver = 5;

constexpr const char* CleanOrService = "see that nothing stands in the beam; if it comes back, have the wheel serviced";

/// What the instrument judges; its measured values are in its debug output only.
struct Item {
  const char* step;
  const char* measured;
  const char* limit;
  DWORD SystemCheckStatus::*state;
  BOOL SystemCheckStatus::*passed;
  const char* advice;
};

constexpr std::array Items = {
    Item{"halogen lamp", "reference light at 670 nm", "above 100000 counts", &SystemCheckStatus::dwLampState,
         &SystemCheckStatus::bHalogenLamp, "replace the halogen lamp"},
    Item{"deuterium lamp", "reference light at 240 nm", "above 100000 counts", &SystemCheckStatus::dwLampState,
         &SystemCheckStatus::bUVLamp, "let it warm up and repeat the check; if it comes back, replace the lamp"},
    Item{"wavelength", "peak of the holmium oxide filter", "less than 10 steps off",
         &SystemCheckStatus::dwWavelengthState, &SystemCheckStatus::bWavelength,
         "empty the cuvette holder and run \"photometer test wavelength\"; if it comes back, have the monochromator "
         "serviced"},
    Item{"filter 1", "absorbance at 500 nm", "above 1", &SystemCheckStatus::dwFilterState, &SystemCheckStatus::bFilter1,
         CleanOrService},
    Item{"filter 2", "absorbance at 700 nm", "above 1", &SystemCheckStatus::dwFilterState, &SystemCheckStatus::bFilter2,
         CleanOrService},
    Item{"filter 3", "absorbance at 400 nm", "above 1", &SystemCheckStatus::dwFilterState, &SystemCheckStatus::bFilter3,
         CleanOrService},
    Item{"filter 4", "absorbance at 400 nm", "above 1", &SystemCheckStatus::dwFilterState, &SystemCheckStatus::bFilter4,
         CleanOrService},
    Item{"detectors", "spread of 10 absorbances at 500 nm", "below 0.005", &SystemCheckStatus::dwDetectorState,
         &SystemCheckStatus::bDetectors,
         "let the instrument warm up away from vibration and interference; if it comes back, have it serviced"},
};

Verdict Judge(const Item& item, const SystemCheckStatus& status, bool bUV) {
  if (status.*item.state <= StateRunning) {
    return Verdict::NotDone;
  }
  const bool bNotThere = bUV ? item.passed == &SystemCheckStatus::bFilter4 : item.passed == &SystemCheckStatus::bUVLamp;
  if (bNotThere) {
    return Verdict::NotTested;
  }
  return status.*item.passed != 0 ? Verdict::Passed : Verdict::Failed;
}

const char* StateText(const SystemCheckStatus& status, DWORD SystemCheckStatus::*state) {
  if (status.*state == StateRunning) {
    return "running";
  }
  // The lamp step's own state is that of the deuterium lamp.
  const bool bHalogenFailed = state == &SystemCheckStatus::dwLampState && status.bHalogenLamp == 0;
  return status.*state == StatePassed && !bHalogenFailed ? "passed" : "FAILED";
}

}  // namespace

void SystemCheckCommand::AddOwnOptions(CLI::App& app) {
  m_dPeak = m_instrument.Calibration().dReferencePeak;
  AddRealOption(app, "--peak", m_dPeak, 332.0, 1098.0, "Peak of the holmium oxide filter that is looked for, nm");
}

void SystemCheckCommand::CheckOwn() { AddSetting("peak", fmt::format("{}", m_dPeak)); }

void SystemCheckCommand::Take(const SystemCheckStatus& status, Progress& progress) {
  constexpr std::array Steps = {std::pair("lamps", &SystemCheckStatus::dwLampState),
                                std::pair("wavelength", &SystemCheckStatus::dwWavelengthState),
                                std::pair("filters", &SystemCheckStatus::dwFilterState),
                                std::pair("detectors", &SystemCheckStatus::dwDetectorState)};
  for (const auto& [name, state] : Steps) {
    if (status.*state != m_status.*state) {
      progress.Say(fmt::format("{}: {}", name, StateText(status, state)));
    }
  }
  m_status = status;
  m_bAny = true;
}

ExitCode SystemCheckCommand::Operate(Bench& bench) {
  photometer::SystemCheckRequest request{};
  request.m_dwRequestId = RequestId;
  request.m_dReferencePeak = m_dPeak;
  bench.progress.Ignore({NotifyWavelengthStepOver});
  const ExitCode code = RunOperation(
      bench, "system check", [&request](photometer::IPhotometer& device) { return device.StartSystemCheck(&request); },
      [this, &bench](const HostEvent& event) {
        if (const auto* pChange = std::get_if<SystemCheckChange>(&event)) {
          Take(pChange->status, bench.progress);
        }
      });
  if (code != ExitCode::Success) {
    return code;
  }
  // A cancel only fails the step in which it comes: the verdicts are not those of the instrument then.
  if (bench.console.interrupt.Count() > 0) {
    bench.progress.Say("system check cancelled");
    return ExitCode::Cancelled;
  }
  return HasFailed(Rows()) ? ExitCode::CheckFailed : ExitCode::Success;
}

std::vector<CheckRow> SystemCheckCommand::Rows() const {
  const bool bUV = m_instrument.Parameters().bUV != 0;
  std::vector<CheckRow> rows;
  for (const Item& item : Items) {
    rows.push_back({item.step, item.measured, item.limit, host::Judge(item, m_status, bUV), item.advice});
    if (!bUV && item.passed == &SystemCheckStatus::bFilter3) {
      rows.back().strMeasured = "absorbance at 700 nm";
    }
  }
  return rows;
}

std::string SystemCheckCommand::Results() const { return FormatCheck(m_header, Rows(), m_results.Format()); }

}  // namespace host
