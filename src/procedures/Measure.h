/// The ordinary measurement: for each wavelength of the request, optics and lamp are set, and dark-corrected readings
/// of both channels are taken and delivered.
///
/// Runs on a thread of its own while the device is busy; reads its request from the state when it begins. The host
/// hears `OnNotify` 25, then `OnResult` and 15 for each wavelength, then 17, or 18, or `OnError`. The list handed to
/// `OnResult` lives until the callback returns.
#pragma once

#include "procedures/SampleRun.h"

namespace photometer {

/// 0, E_POINTER or E_INVALIDARG.
HRESULT ValidateMeasureRequest(const MeasureRequest* pRequest, const PhotometerParameters& params);

class Measure : private SampleRun {
 public:
  using SampleRun::SampleRun;

  /// Thread procedure.
  void Run();

 private:
  void TakeRequest();
  /// From the optics' set-up to the last wavelength. 0, or what ends the run.
  LONG MeasureAll();
  LONG MeasureWavelength(std::size_t nIndex);
  LONG SetOptics(double dWavelength, DWORD* pPosition);
  LONG SetLamp(double dWavelength);
  /// All readings at one wavelength, into the list.
  LONG TakeReadings(MeasureValue value, MeasureValues* pValues);
  /// One valid reading, in at most ten attempts.
  LONG TakeReading(MeasureValue* pValue);
  LONG TryReading(MeasureValue* pValue);
  DWORD ReadTurbidity(double* pTurbidity);
  void Deliver(std::size_t nIndex, const MeasureValues& values);
  void Finish(LONG iResult);

  MeasureRequest m_Request{};
  PhotometerParameters m_Params{};
};

}  // namespace photometer
