/// The holmium oxide scan: the filter's absorbance at each position of a range, delivered as the unit sends its points.
/// It applies no correction and judges nothing.
///
/// Runs on a thread of its own while the device is busy; it does not look at the cancel flag.
#pragma once

#include <vector>

#include "optics/Detectors.h"
#include "optics/OpticalLink.h"
#include "optics/OpticalUnit.h"
#include "photometer/Records.h"
#include "procedures/EndSequence.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// 0, E_POINTER or E_INVALIDARG.
HRESULT ValidateHolmiumOxideScanRequest(const HolmiumOxideScanRequest* pRequest);

class HolmiumOxideScan {
 public:
  HolmiumOxideScan(DeviceState& state, HostSink& sink, OpticalLink& link, OpticalUnit& unit, Detectors& detectors,
                   EndSequence& end)
      : m_State(state), m_Sink(sink), m_Link(link), m_Unit(unit), m_Detectors(detectors), m_End(end) {}

  /// Thread procedure.
  void Run();

 private:
  void Begin();
  DWORD OpenPass();
  DWORD PrepareFilterPass();
  /// The steps that both passes share: to the first position, lamp on, dark reading.
  DWORD PreparePass(Reading* pDark);
  LONG StreamFilterPass();
  /// The exchange of the streamed scan. 0, or what ends the run.
  LONG CollectPoints();
  void Deliver(const std::vector<Reading>& points);
  void Finish(LONG iResult);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalLink& m_Link;
  OpticalUnit& m_Unit;
  Detectors& m_Detectors;
  EndSequence& m_End;

  HolmiumOxideScanRequest m_Request{};
  bool m_bUV = false;
  DWORD m_dwPoints = 0;
  Reading m_OpenDark;
  Reading m_FilterDark;
  std::vector<double> m_OpenSample;
  std::vector<double> m_OpenReference;
  DWORD m_dwDelivered = 0;
};

}  // namespace photometer
