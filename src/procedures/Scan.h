/// The spectrum: the unit moves the monochromator itself and streams its readings; the library sets the optics for each
/// segment of the plan, collects the stream and delivers the points in the batches in which they arrive.
///
/// Runs on a thread of its own while the device is busy. The host hears `OnNotify` 25, `OnResult` for each batch, then
/// 17 or 18, or `OnError`. After a cancel the rest of the running segment is still collected and delivered, so that the
/// line stays in step with the unit.
#pragma once

#include <vector>

#include "optics/OpticalExchange.h"
#include "optics/OpticalLink.h"
#include "optics/PointStream.h"
#include "photometer/Records.h"
#include "procedures/SampleRun.h"
#include "procedures/ScanPlan.h"

namespace photometer {

class Scan : private SampleRun {
 public:
  Scan(DeviceState& state, HostSink& sink, OpticalLink& link, OpticalUnit& unit, Detectors& detectors,
       const WavelengthModel& model, Pumps& pumps, EndSequence& end)
      : SampleRun(state, sink, unit, detectors, model, pumps, end), m_Link(link) {}

  /// Thread procedure.
  void ScanProc();

 private:
  void Plan();
  ScanPositions Positions() const;
  /// The pump step. False: it ends the run, with `*pResult` as its error.
  bool DrawSample(LONG* pResult);
  LONG ScanAll();
  LONG MoveToStart();
  LONG RunSegment(std::size_t nIndex);
  LONG SetOptics(const ScanSegment& segment);
  LONG ReadDark();
  LONG CollectSegment(std::size_t nIndex);
  /// Until the segment's points are complete. 0, or what ends the run.
  LONG CollectPoints(OpticalExchange& exchange, DWORD dwExpected);
  OpticalExchange::Arrival Wait(OpticalExchange& exchange, std::string& bytes);
  LONG Reject(PointStream::Verdict verdict, const PointStream& stream, DWORD dwExpected);
  void AppendPoint(const Reading& reading);
  LONG AppendTurbidity();
  void DeliverBatch();
  /// Into the state cache.
  void StorePosition(LONG iPosition);
  void Finish(LONG iResult);
  void LogSegment(std::size_t nIndex) const;

  OpticalLink& m_Link;

  ScanRequest m_Request{};
  PhotometerParameters m_Params{};
  std::vector<double> m_Wavelengths;
  ScanPlan m_Plan{};
  DWORD m_dwFirst = 0;
  DWORD m_dwOffset = 0;
  LONG m_iCuvetteSize = 0;
  Reading m_Dark;
  MeasureValues m_Batch;
  /// The number of a cancel that came while the stream ran.
  LONG m_iCancelResult = 0;
};

}  // namespace photometer
