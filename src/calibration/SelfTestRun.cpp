#include "calibration/SelfTestRun.h"

namespace photometer {

void SelfTestRun::EndOptics(const char* procedure, LONG iResult) {
  m_End.Report(procedure, iResult);
  m_End.MakeSafe();
  if (iResult != 0) {
    m_Unit.ReleaseMonochromator();
    m_End.React(iResult);
  }
}

void SelfTestRun::DecideInitialized(LONG iResult) {
  const auto state = m_State.Lock();
  state->m_Status.bInitialized = iResult == 0 && !m_State.IsStopping() ? TRUE : FALSE;
  m_End.GiveBack();
}

}  // namespace photometer
