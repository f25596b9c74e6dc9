/// The start-up self-test: lamp test, wavelength test, zero measurement.
///
/// Runs on a thread that `Initialize` starts, with the device busy. Its outcome is `bInitialized`. The wavelength test
/// corrects the wavelength model; the zero measurement fills the list of zero values, which the host receives through
/// `OnReferenceValues`.
#pragma once

#include <vector>

#include "calibration/SelfTestRun.h"

namespace photometer {

class StartUp : private SelfTestRun {
 public:
  using SelfTestRun::SelfTestRun;

  /// Thread procedure.
  void InitProc();

 private:
  /// What a run over the zero wavelengths came to.
  enum class ZeroRun { Complete, Interrupted };

  void Begin();
  LONG LampTest();
  LONG WavelengthTest();
  void AcceptOffset(LONG iOffset);
  LONG MeasureZeros();
  /// All wavelengths, until a cuvette has to be removed.
  LONG MeasureRun(ZeroRun* pRun);
  LONG MeasureOne(std::size_t nIndex, ZeroRun* pRun);
  void End(LONG iResult);
  void HandOverZeros();
  /// Looks into the well, and waits until it is empty. True: it was not.
  bool CuvetteHadToBeRemoved() { return m_Spectrum.WaitForCuvetteRemoval(CuvetteCaller::StartUp) != FALSE; }
};

}  // namespace photometer
