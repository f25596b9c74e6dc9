#include "calibration/ZeroMeasurement.h"

#include "calibration/StageCodes.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

constexpr int TRIES = 10;

}  // namespace

LONG ZeroMeasurement::Begin() {
  const DWORD dwResult =
      InOrder([&] { return m_Unit.SetMirror(HALOGEN_PATH); }, [&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
              [&] { return m_Unit.SetADSpeed(READING_AD_SPEED); });
  if (dwResult == 0) {
    m_State.Lock()->m_WavelengthCalibrations.clear();
  }
  return static_cast<LONG>(dwResult);
}

LONG ZeroMeasurement::Measure(double dWavelength, const std::function<bool()>& mayTry, Reading* pZero) {
  if (const DWORD dwResult = SetOptics(dWavelength); dwResult != 0) {
    return static_cast<LONG>(dwResult);
  }
  LONG iResult = 0;
  for (int i = 0; i < TRIES && mayTry(); ++i) {
    if (const DWORD dwResult = ReadWithoutDark(m_Unit, m_Detectors, pZero); dwResult != 0) {
      return static_cast<LONG>(dwResult);
    }
    if (IsValid(*pZero)) {
      return 0;
    }
    iResult = NO_ZERO_READING;
  }
  return iResult;
}

DWORD ZeroMeasurement::SetOptics(double dWavelength) {
  const BOOL bHigh = dWavelength < m_State.Lock()->m_Params.LowerFilterWL;
  return InOrder([&] { return m_Unit.SetFilter(m_Model.GetFilterPosition(dWavelength)); },
                 [&] { return m_Unit.SetGain(bHigh); },
                 [&] { return m_Unit.MoveMonochromator(m_Model.GetMonochromatorPosition(dWavelength)); },
                 [&] { return m_Unit.SetHalogenLamp(TRUE, bHigh); });
}

LONG ZeroMeasurement::Keep(double dWavelength, const Reading& zero) {
  if (const DWORD dwResult = m_Unit.SetHalogenLamp(FALSE, FALSE); dwResult != 0) {
    return static_cast<LONG>(dwResult);
  }
  m_State.Lock()->m_WavelengthCalibrations.push_back({0, dWavelength, zero.dSample, zero.dReference, {}});
  return 0;
}

void ZeroMeasurement::NotifyProgress(std::size_t nDone, std::size_t nCount) {
  const double dPercent = static_cast<double>(nDone) * 100.0 / static_cast<double>(nCount);
  m_Sink.NotifyCode(0, ZERO_MEASUREMENT, static_cast<DWORD>(dPercent));
}

}  // namespace photometer
