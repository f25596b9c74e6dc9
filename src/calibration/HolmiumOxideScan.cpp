#include "calibration/HolmiumOxideScan.h"

#include "calibration/FilterSpectrum.h"
#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/OpticalExchange.h"
#include "optics/ShutterReading.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

constexpr LONG SILENCE = 302;
constexpr LONG TOO_MUCH_DATA = 303;
constexpr LONG UNIT_ERROR = 304;
constexpr LONG NOT_WRITTEN = 305;

/// What the unit accepts as positions, steps.
constexpr LONG LOWEST_POSITION = -1000;
constexpr LONG HIGHEST_POSITION = 15000;

constexpr DWORD SCAN_SPEED = 2400;

}  // namespace

HRESULT ValidateHolmiumOxideScanRequest(const HolmiumOxideScanRequest* pRequest) {
  if (pRequest == nullptr) {
    return E_POINTER;
  }
  const bool bFits = pRequest->m_iFirstPosition >= LOWEST_POSITION && pRequest->m_iLastPosition <= HIGHEST_POSITION &&
                     pRequest->m_iFirstPosition < pRequest->m_iLastPosition;
  return bFits ? S_OK : E_INVALIDARG;
}

void HolmiumOxideScan::Run() {
  Begin();
  auto iResult = static_cast<LONG>(InOrder([&] { return OpenPass(); }, [&] { return PrepareFilterPass(); }));
  if (iResult == 0) {
    iResult = StreamFilterPass();
  }
  if (iResult == 0) {
    m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_FINISHED, 100);
  }
  Finish(iResult);
}

void HolmiumOxideScan::Begin() {
  {
    const auto state = m_State.Lock();
    m_Request = state->m_HolmiumOxideScanRequest;
    m_bUV = state->m_Params.bUV != 0;
  }
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_STARTED, 0);
  m_dwPoints = static_cast<DWORD>(m_Request.m_iLastPosition - m_Request.m_iFirstPosition + 1);
  m_OpenSample.assign(m_dwPoints, 0.0);
  m_OpenReference.assign(m_dwPoints, 0.0);
}

DWORD HolmiumOxideScan::OpenPass() {
  const auto dwLast = static_cast<DWORD>(m_Request.m_iLastPosition);
  return InOrder([&] { return m_Unit.SetGain(FALSE); }, [&] { return m_Unit.SetMeasurementLength(1); },
                 [&] { return m_Unit.SetFilter(OPEN_POSITION); }, [&] { return m_Unit.SetMirror(HALOGEN_PATH); },
                 [&] { return PreparePass(&m_OpenDark); },
                 [&] { return m_Detectors.Scan(dwLast, m_OpenSample.data(), m_OpenReference.data(), m_dwPoints); },
                 [&] { return m_Unit.SetHalogenLamp(FALSE, FALSE); });
}

DWORD HolmiumOxideScan::PrepareFilterPass() {
  return InOrder([&] { return m_Unit.SetFilter(HolmiumPosition(m_bUV)); }, [&] { return PreparePass(&m_FilterDark); });
}

DWORD HolmiumOxideScan::PreparePass(Reading* pDark) {
  return InOrder([&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
                 [&] { return m_Unit.MoveMonochromator(m_Request.m_iFirstPosition); },
                 [&] { return m_Unit.SetMonochromatorSpeed(SCAN_SPEED); },
                 [&] { return m_Unit.SetHalogenLamp(TRUE, FALSE); },
                 [&] { return m_Unit.SetADSpeed(READING_AD_SPEED); },
                 [&] { return ReadWithShutter(m_Unit, m_Detectors, Shutter::Closed, pDark); },
                 [&] { return m_Unit.SetShutter(FALSE); }, [&] { return m_Unit.SetADSpeed(SCAN_AD_SPEED); });
}

LONG HolmiumOxideScan::StreamFilterPass() {
  const LONG iResult = CollectPoints();
  if (iResult != 0) {
    m_State.Lock()->m_Cache[CacheEntry::MonochromatorPosition] = UNKNOWN;  // where it stands now, nobody knows
  }
  return iResult;
}

LONG HolmiumOxideScan::CollectPoints() {
  OpticalExchange exchange(m_Link, ExchangeKind::Data);
  if (!exchange.Send(ScanCommand(static_cast<DWORD>(m_Request.m_iLastPosition)))) {
    return NOT_WRITTEN;
  }
  PointStream stream(m_dwPoints);
  std::vector<Reading> points;
  PointStream::Verdict verdict = PointStream::Verdict::Going;
  while (verdict == PointStream::Verdict::Going) {
    std::string bytes;
    if (exchange.Receive(bytes) == OpticalExchange::Arrival::Silence) {
      if (!m_State.IsStopping()) {
        NKDbgPrintfW("[Photometer] Timeout: received %d pts, %d expected\n\r", static_cast<int>(stream.Received()),
                     static_cast<int>(m_dwPoints));
      }
      return static_cast<LONG>(exchange.GiveUp(Backlog::Stream, SILENCE));
    }
    points.clear();
    verdict = exchange.TakePoints(bytes, stream, &points);
    if (verdict == PointStream::Verdict::Error || verdict == PointStream::Verdict::TooMuch) {
      return verdict == PointStream::Verdict::Error ? UNIT_ERROR : TOO_MUCH_DATA;
    }
    Deliver(points);
  }
  return 0;
}

void HolmiumOxideScan::Deliver(const std::vector<Reading>& points) {
  MeasureValues values;
  for (const Reading& reading : points) {
    const std::size_t i = m_dwDelivered++;
    MeasureValue value{};
    value.dwTag = m_Request.m_dwRequestId;
    value.dwPosition = static_cast<DWORD>(m_Request.m_iFirstPosition + static_cast<LONG>(i));
    value.dValue = FilterAbsorbance(WithoutDark(reading, m_FilterDark),
                                    WithoutDark({m_OpenSample[i], m_OpenReference[i]}, m_OpenDark));
    values.push_back(value);
  }
  const DWORD dwNow = GetTickCount();
  {
    const auto state = m_State.Lock();
    state->m_Cache[CacheEntry::MonochromatorPosition] += static_cast<LONG>(points.size());
    state->m_Status.dwLastActivityTick = dwNow;
  }
  m_Sink.Notify([&](IPhotometerSink& sink) { sink.OnResult(m_Request.m_dwRequestId, &values); });
}

void HolmiumOxideScan::Finish(LONG iResult) {
  m_End.Report("HolmiumOxideScan", iResult);
  m_End.MakeSafe();
  m_End.React(iResult);
  m_End.GiveBack();
}

}  // namespace photometer
