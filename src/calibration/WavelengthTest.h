/// The wavelength test on request: the wavelength calibration of the start-up once more, and the zero measurement when
/// more than one attempt was needed or the device was not initialised.
///
/// Runs on a thread of its own while the device is busy. Its outcome is `bInitialized`.
#pragma once

#include "calibration/SelfTestRun.h"

namespace photometer {

class WavelengthTest : private SelfTestRun {
 public:
  using SelfTestRun::SelfTestRun;

  /// Thread procedure.
  void WaveLengthTestProc();

 private:
  void Begin();
  LONG FindOffset();
  /// One attempt. 0 with `pPassed` set or not, or the number of the command that failed.
  LONG Attempt(DWORD dwAttempt, bool* pPassed);
  DWORD PrepareAttempt(DWORD dwAttempt);
  void AcceptOffset(DWORD dwAttempt, LONG iOffset, LONG iBefore);
  LONG MeasureZeros();
  void End(LONG iResult);

  BOOL m_bWasInitialized = FALSE;
  DWORD m_dwAttempt = 1;
};

}  // namespace photometer
