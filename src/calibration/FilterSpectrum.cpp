#include "calibration/FilterSpectrum.h"

#include <cmath>
#include <limits>

#include "calibration/StageCodes.h"
#include "optics/InOrder.h"
#include "optics/ShutterReading.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

constexpr DWORD SCAN_SPEED = 38400;

/// Per cent after the open and after the filter pass.
constexpr DWORD OPEN_PASS_DONE = 50;
constexpr DWORD FILTER_PASS_DONE = 75;

/// Between two looks into the cuvette well, ms.
constexpr DWORD CUVETTE_PAUSE = 100;

double AtLeastSomeLight(double d) { return d > 0.0 ? d : 1.0; }

}  // namespace

DWORD FindMaximumIndex(const std::vector<double>& wavelengths, const std::vector<double>& values) {
  double dBest = std::numeric_limits<double>::lowest();
  DWORD dwIndex = 0;
  for (std::size_t i = 0; i < wavelengths.size() && i < values.size(); ++i) {
    if (values[i] > dBest) {
      dBest = values[i];
      dwIndex = static_cast<DWORD>(i);
    }
  }
  return dwIndex;
}

double FilterAbsorbance(const Reading& filter, const Reading& open) {
  const double f = AtLeastSomeLight(filter.dSample);
  const double o = AtLeastSomeLight(open.dSample);
  const double dFilterReference = AtLeastSomeLight(filter.dReference);
  const double dOpenReference = AtLeastSomeLight(open.dReference);
  return -std::log10(((f * dOpenReference) / o) / dFilterReference);
}

Reading FilterSpectrum::Pass::At(std::size_t nIndex) const {
  return WithoutDark({sample[nIndex], reference[nIndex]}, dark);
}

DWORD FilterSpectrum::MeasureFilterSpectrum(std::vector<double>* pWavelengths, std::vector<double>* pAbsorbances,
                                            DWORD /*dwAttempt*/, BOOL bIgnoreCuvette) {
  Range range;
  if (!TakeRange(&range)) {
    return SPECTRUM_BAD_RANGE;
  }
  Pass open;
  Pass filter;
  DWORD dwResult = InOrder([&] { return MeasurePasses(range, bIgnoreCuvette, &open, &filter); },
                           [&] { return Append(range, bIgnoreCuvette, open, filter, pWavelengths, pAbsorbances); });
  Close();
  // A cancel seen by the last check, and then a cuvette, say more than the command that failed on their account.
  if (dwResult != SPECTRUM_CANCELLED && CheckCuvette(bIgnoreCuvette) != 0) {
    dwResult = SPECTRUM_CUVETTE;
  }
  return dwResult;
}

bool FilterSpectrum::TakeRange(Range* pRange) {
  const auto state = m_State.Lock();
  if (state->m_ScanRange.size() < 2) {
    return false;
  }
  double dFirst = state->m_ScanRange[0];
  double dLast = state->m_ScanRange[1];
  switch (state->m_iScanRangeMode) {
    case ScanRangeMode::FirstAndLast:
      break;
    case ScanRangeMode::CentreAndHalfWidth: {
      const double dCentre = dFirst;
      const double dHalfWidth = dLast;
      dFirst = dCentre - dHalfWidth;
      dLast = dCentre + dHalfWidth;
      break;
    }
    default:
      return false;
  }
  pRange->dwFirstPosition = m_Model.GetTablePosition(dFirst);
  pRange->dwLastPosition = m_Model.GetTablePosition(dLast);
  m_Model.GetTableWavelengths(dFirst, dLast, &pRange->wavelengths);
  return true;
}

DWORD FilterSpectrum::MeasurePasses(const Range& range, BOOL bIgnoreCuvette, Pass* pOpen, Pass* pFilter) {
  const bool bUV = m_State.Lock()->m_Params.bUV != 0;
  return InOrder([&] { return PrepareOpenPass(); }, [&] { return CheckCancel(); },
                 [&] { return ScanPass(range, bIgnoreCuvette, OPEN_PASS_DONE, pOpen); },
                 [&] { return m_Unit.SetFilter(HolmiumPosition(bUV)); },
                 [&] { return ScanPass(range, bIgnoreCuvette, FILTER_PASS_DONE, pFilter); });
}

DWORD FilterSpectrum::PrepareOpenPass() {
  return InOrder([&] { return m_Unit.SetMeasurementLength(1); }, [&] { return m_Unit.SetFilter(OPEN_POSITION); },
                 [&] { return m_Unit.SetGain(FALSE); }, [&] { return m_Unit.SetMirror(HALOGEN_PATH); });
}

DWORD FilterSpectrum::ScanPass(const Range& range, BOOL bIgnoreCuvette, DWORD dwProgress, Pass* pPass) {
  const auto dwCount = static_cast<DWORD>(range.wavelengths.size());
  pPass->sample.assign(dwCount, 0.0);
  pPass->reference.assign(dwCount, 0.0);
  const auto iFirst = static_cast<LONG>(range.dwFirstPosition);
  return InOrder(
      [&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); }, [&] { return m_Unit.MoveMonochromator(iFirst); },
      [&] { return m_Unit.SetMonochromatorSpeed(SCAN_SPEED); }, [&] { return m_Unit.SetADSpeed(READING_AD_SPEED); },
      [&] { return ReadWithShutter(m_Unit, m_Detectors, Shutter::Closed, &pPass->dark); },
      [&] { return m_Unit.SetShutter(FALSE); }, [&] { return m_Unit.SetHalogenLamp(TRUE, TRUE); },
      [&] { return CheckCancel(); }, [&] { return CheckCuvette(bIgnoreCuvette); },
      [&] { return m_Detectors.Scan(range.dwLastPosition, pPass->sample.data(), pPass->reference.data(), dwCount); },
      [&] {
        m_Sink.NotifyCode(0, WAVELENGTH_TEST, dwProgress);
        return CheckCancel();
      },
      [&] { return m_Unit.SetHalogenLamp(FALSE, FALSE); });
}

DWORD FilterSpectrum::CheckCancel() { return m_State.IsCancelled() ? SPECTRUM_CANCELLED : 0; }

DWORD FilterSpectrum::CheckCuvette(BOOL bIgnoreCuvette) {
  return !bIgnoreCuvette && m_Cuvette.GetCuvetteSize() > 0 ? SPECTRUM_CUVETTE : 0;
}

DWORD FilterSpectrum::Append(const Range& range, BOOL bIgnoreCuvette, const Pass& open, const Pass& filter,
                             std::vector<double>* pWavelengths, std::vector<double>* pAbsorbances) {
  for (std::size_t i = 0; i < range.wavelengths.size(); ++i) {
    if (const DWORD dwResult = CheckCuvette(bIgnoreCuvette); dwResult != 0) {
      return dwResult;
    }
    pAbsorbances->push_back(FilterAbsorbance(filter.At(i), open.At(i)));
    pWavelengths->push_back(range.wavelengths[i]);
  }
  return 0;
}

void FilterSpectrum::Close() {
  const std::string strLastCommand = m_State.LastCommand();
  m_Unit.MakeSafe();
  m_State.SetLastCommand(strLastCommand);
}

BOOL FilterSpectrum::WaitForCuvetteRemoval(CuvetteCaller caller) {
  DWORD dwSkip = 0;
  m_Sink.Notify([&dwSkip](IPhotometerSink& sink) { dwSkip = sink.QueryCuvetteWait(); });
  if (dwSkip != 0 || m_Cuvette.GetCuvetteState() < 1) {
    return FALSE;
  }
  m_Sink.NotifyCode(0, REMOVE_CUVETTE, static_cast<DWORD>(caller));
  while (m_Cuvette.GetCuvetteState() >= 1 && m_State.Pause(CUVETTE_PAUSE)) {
    if (caller == CuvetteCaller::WavelengthCheck && m_State.IsCancelled()) {
      return TRUE;  // nobody waits for the removal any more
    }
  }
  m_Sink.NotifyCode(0, CUVETTE_REMOVED, static_cast<DWORD>(caller));
  return TRUE;
}

}  // namespace photometer
