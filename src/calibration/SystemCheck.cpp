#include "calibration/SystemCheck.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "calibration/FilterSpectrum.h"
#include "calibration/StageCodes.h"
#include "calibration/Statistics.h"
#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

/// States of a step.
constexpr DWORD RUNNING = 1;
constexpr DWORD PASSED = 2;
constexpr DWORD FAILED = 3;

constexpr double HALOGEN_TEST_WAVELENGTH = 670.0;
constexpr double DEUTERIUM_TEST_WAVELENGTH = 240.0;
/// Light of a sound lamp on the reference channel, counts.
constexpr double LAMP_LIMIT = 100000.0;
/// The correction has moved by fewer steps than this.
constexpr LONG OFFSET_LIMIT = 10;
/// A sound filter blocks more than this.
constexpr double FILTER_LIMIT = 1.0;
constexpr double NOISE_TEST_WAVELENGTH = 500.0;
constexpr int NOISE_READINGS = 11;
constexpr double NOISE_LIMIT = 0.005;

DWORD Verdict(BOOL bPassed) { return bPassed ? PASSED : FAILED; }

Reading AtLeastOneCount(const Reading& reading) {
  return {std::max(reading.dSample, 1.0), std::max(reading.dReference, 1.0)};
}

}  // namespace

void SystemCheck::SystemCheckProc() {
  {
    const auto state = m_State.Lock();
    m_Request = state->m_SystemCheckRequest;
    m_bUV = state->m_Params.bUV != 0;
  }
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_STARTED, 0);
  Finish(InOrder([&] { return CheckLamps(); }, [&] { return CheckWavelength(); }, [&] { return CheckFilters(); },
                 [&] { return CheckDetectors(); }));
}

void SystemCheck::SetStep(DWORD SystemCheckStatus::*pStep, DWORD dwState) {
  m_Status.*pStep = dwState;
  m_Sink.Notify([this](IPhotometerSink& sink) { sink.OnSystemCheckStatus(&m_Status); });
}

// ---- lamps ----

DWORD SystemCheck::CheckLamps() {
  SetStep(&SystemCheckStatus::dwLampState, RUNNING);
  const DWORD dwResult = InOrder([&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
                                 [&] { return m_Unit.SetADSpeed(READING_AD_SPEED); },
                                 [&] { return CheckHalogenLamp(); }, [&] { return CheckDeuteriumLamp(); });
  if (dwResult == 0) {
    SetStep(&SystemCheckStatus::dwLampState, Verdict(m_Status.bUVLamp));
  }
  return dwResult;
}

DWORD SystemCheck::CheckHalogenLamp() {
  Reading reading;
  const DWORD dwResult =
      InOrder([&] { return m_Unit.MoveMonochromator(m_Model.GetMonochromatorPosition(HALOGEN_TEST_WAVELENGTH)); },
              [&] { return m_Unit.SetMirror(HALOGEN_PATH); }, [&] { return m_Unit.SetFilter(3); },
              [&] { return m_Unit.SetGain(FALSE); }, [&] { return TakeHalogenReading(&reading); });
  m_Status.bHalogenLamp = dwResult == 0 && reading.dReference > LAMP_LIMIT ? TRUE : FALSE;
  return dwResult;
}

DWORD SystemCheck::CheckDeuteriumLamp() {
  if (!m_bUV) {
    m_Status.bUVLamp = TRUE;
    return 0;
  }
  Reading reading;
  const DWORD dwResult = InOrder(
      [&] { return m_Unit.MoveMonochromator(m_Model.GetMonochromatorPosition(DEUTERIUM_TEST_WAVELENGTH)); },
      [&] { return m_Unit.SetMirror(DEUTERIUM_PATH); }, [&] { return m_Unit.SetFilter(OPEN_POSITION); },
      [&] { return m_Unit.SetGain(TRUE); }, [&] { return m_Unit.SetDeuteriumLamp(TRUE); },
      [&] { return ReadWithoutDark(m_Unit, m_Detectors, &reading); }, [&] { return m_Unit.SetDeuteriumLamp(FALSE); });
  m_Status.bUVLamp = dwResult == 0 && reading.dReference > LAMP_LIMIT ? TRUE : FALSE;
  return dwResult;
}

// ---- wavelength ----

DWORD SystemCheck::CheckWavelength() {
  SetStep(&SystemCheckStatus::dwWavelengthState, RUNNING);
  const HolmiumPeak::Result peak = m_Peak.Find(m_Request.m_dReferencePeak, 1, FALSE);
  const LONG iStored = std::abs(m_Model.GetPositionOffset());
  const bool bPassed = peak.bComplete && std::abs(iStored - std::abs(peak.iOffset)) < OFFSET_LIMIT;
  m_Status.bWavelength = bPassed ? TRUE : FALSE;
  SetStep(&SystemCheckStatus::dwWavelengthState, Verdict(m_Status.bWavelength));
  m_Sink.NotifyCode(0, WAVELENGTH_TEST, 100);
  m_Sink.NotifyCode(0, WAVELENGTH_TEST_PASSED, 100);
  return 0;
}

// ---- filters ----

DWORD SystemCheck::CheckFilters() {
  SetStep(&SystemCheckStatus::dwFilterState, RUNNING);
  const DWORD dwResult = InOrder([&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
                                 [&] { return m_Unit.SetADSpeed(READING_AD_SPEED); },
                                 [&] { return CheckFilter(1, 500.0, 1, &m_Status.bFilter1); },
                                 [&] { return CheckFilter(2, 700.0, 2, &m_Status.bFilter2); },
                                 [&] { return CheckFilter(3, m_bUV ? 400.0 : 700.0, 3, &m_Status.bFilter3); },
                                 [&] { return m_bUV ? 0 : CheckFilter(4, 400.0, 4, &m_Status.bFilter4); });
  if (dwResult != 0) {
    return dwResult;
  }
  if (m_bUV) {
    m_Status.bFilter4 = TRUE;
  }
  const bool bAll = m_Status.bFilter1 && m_Status.bFilter2 && m_Status.bFilter3 && m_Status.bFilter4;
  SetStep(&SystemCheckStatus::dwFilterState, Verdict(bAll));
  return 0;
}

DWORD SystemCheck::CheckFilter(DWORD dwFilterNumber, double dWavelength, DWORD dwFilterPosition, BOOL* pbPassed) {
  Reading open;
  Reading filter;
  const DWORD dwResult =
      InOrder([&] { return m_Unit.MoveMonochromator(m_Model.GetMonochromatorPosition(dWavelength)); },
              [&] { return m_Unit.SetMirror(HALOGEN_PATH); }, [&] { return m_Unit.SetFilter(OPEN_POSITION); },
              [&] { return TakeHalogenReading(&open); }, [&] { return m_Unit.SetFilter(dwFilterPosition); },
              [&] { return TakeHalogenReading(&filter); });
  if (dwResult != 0) {
    return dwResult;
  }
  const double dAbsorbance = FilterAbsorbance(AtLeastOneCount(filter), AtLeastOneCount(open));
  if (std::isfinite(dAbsorbance) && dAbsorbance > FILTER_LIMIT) {
    *pbPassed = TRUE;
  }
  NKDbgPrintfW("[Photometer] Filter %d:  abs= %.3lf", static_cast<int>(dwFilterNumber), dAbsorbance);
  return 0;
}

// ---- detectors ----

DWORD SystemCheck::CheckDetectors() {
  SetStep(&SystemCheckStatus::dwDetectorState, RUNNING);
  std::vector<double> absorbances;
  const DWORD dwResult =
      InOrder([&] { return m_Unit.MoveMonochromator(m_Model.GetMonochromatorPosition(NOISE_TEST_WAVELENGTH)); },
              [&] { return m_Unit.SetMirror(HALOGEN_PATH); }, [&] { return m_Unit.SetFilter(2); },
              [&] { return CollectNoise(&absorbances); });
  if (dwResult != 0) {
    return dwResult;
  }
  const double dDeviation = StandardDeviation(absorbances);
  m_Status.bDetectors = dDeviation < NOISE_LIMIT ? TRUE : FALSE;
  NKDbgPrintfW("[Photometer] detectors: st dev = %.3lf (%d data size)\n\r", dDeviation,
               static_cast<int>(absorbances.size()));
  m_Status.dwDetectorState = Verdict(m_Status.bDetectors);
  m_Sink.Notify({[this](IPhotometerSink& sink) { sink.OnSystemCheckStatus(&m_Status); },
                 NotifyCall(m_Request.m_dwRequestId, NOTIFY_FINISHED, 100)});
  return 0;
}

DWORD SystemCheck::CollectNoise(std::vector<double>* pAbsorbances) {
  for (int i = 0; i < NOISE_READINGS; ++i) {
    Reading reading;
    if (const DWORD dwResult = TakeHalogenReading(&reading); dwResult != 0) {
      return dwResult;
    }
    const double dAbsorbance = -std::log10(reading.dSample / reading.dReference);
    // The first reading is taken with a lamp that is still cold.
    if (i > 0 && IsValid(reading) && std::isfinite(dAbsorbance)) {
      pAbsorbances->push_back(dAbsorbance);
    }
  }
  return 0;
}

// ---- readings ----

DWORD SystemCheck::TakeHalogenReading(Reading* pReading) {
  return InOrder([&] { return m_Unit.SetHalogenLamp(TRUE, FALSE); },
                 [&] { return ReadWithoutDark(m_Unit, m_Detectors, pReading); },
                 [&] { return m_Unit.SetHalogenLamp(FALSE, FALSE); });
}

// ---- end ----

void SystemCheck::Finish(DWORD dwResult) {
  const auto iResult = static_cast<LONG>(dwResult);
  m_End.Report("System Check", iResult);
  m_End.MakeSafe();
  m_End.React(iResult);
  m_End.GiveBack();
}

}  // namespace photometer
