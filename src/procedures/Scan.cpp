#include "procedures/Scan.h"

#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"
#include "procedures/Turbidity.h"

namespace photometer {

namespace {

constexpr LONG SILENCE = 322;
constexpr LONG TOO_MUCH_DATA = 323;
constexpr LONG UNIT_ERROR = 324;
constexpr LONG NOT_WRITTEN = 325;
constexpr LONG CANCELLED = 326;

constexpr DWORD COARSE_SPEED = 240;
constexpr DWORD FINE_SPEED = 2400;
constexpr DWORD COARSE_LENGTH = 10;

/// The command as it is shown, without its carriage return.
std::string Shown(const ScanSegment& segment) { return segment.strCommand.substr(0, segment.strCommand.size() - 1); }

const char* TrueOrFalse(BOOL b) { return b ? "TRUE" : "FALSE"; }

}  // namespace

void Scan::ScanProc() {
  LogPhotometerF(TRUE, "[Scan] ----->  Thread started.");
  Plan();
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_STARTED, 0);
  LONG iResult = 0;
  const bool bDrawn = DrawSample(&iResult);
  if (bDrawn) {
    iResult = ScanAll();
  }
  if (bDrawn && iResult == 0 && !m_bCanceled) {
    m_bCanceled = !m_End.NotifyFinished(m_Request.m_dwRequestId);
    StorePosition(static_cast<LONG>(m_Plan.dwLast + 1));
  }
  Finish(iResult);
}

// ---- planning ----

void Scan::Plan() {
  const auto state = m_State.Lock();
  m_Params = state->m_Params;
  m_Request = state->m_ScanRequest;
  m_Wavelengths = ScanWavelengths(m_Request, m_Model);
  if (m_Wavelengths.empty()) {
    return;  // the start has refused such a range
  }
  const ScanPositions positions = Positions();
  m_dwFirst = positions.dwFirst;
  m_Plan = PlanScan(m_Request, m_Params.bUV, positions);
}

ScanPositions Scan::Positions() const {
  const auto position = [this](double wl) { return static_cast<DWORD>(m_Model.GetMonochromatorPosition(wl)); };
  return {position(m_Wavelengths.front()),
          position(m_Wavelengths.back()),
          m_Params.bUV ? position(m_Request.m_dLampSwitchingPoint) : 0,
          position(m_Params.LowerFilterWL),
          position(m_Params.MiddleFilterWL),
          position(m_Params.UpperFilterWL),
          position(900.0),
          position(1000.0)};
}

// ---- run ----

bool Scan::DrawSample(LONG* pResult) {
  const bool bInUse = m_Pumps.IsPumpInUse();
  NKDbgPrintfW(bInUse ? "Pump in use..." : "Pump not in use !");
  const PhotometerParameters params = m_State.Lock()->m_Params;  // pump times as the host has set them since the start
  const DWORD dwResult = bInUse ? m_Pumps.PumpStep(params, m_Request.m_dwRequestId) : 0;
  *pResult = IsPumpStopCode(dwResult) ? 0 : static_cast<LONG>(dwResult);
  return !CancelSeen() && dwResult == 0;
}

LONG Scan::ScanAll() {
  if (const LONG iResult = MoveToStart(); iResult != 0) {
    return iResult;
  }
  m_iCuvetteSize = m_State.Lock()->m_Status.iCuvetteSize;
  for (std::size_t i = 0; i < m_Plan.segments.size(); ++i) {
    if (CancelSeen()) {
      return 0;
    }
    if (const LONG iResult = RunSegment(i); iResult != 0 || m_bCanceled) {
      return iResult;
    }
  }
  return 0;
}

LONG Scan::MoveToStart() {
  const bool bCoarse = m_Request.m_bStep1nm != 0;
  return static_cast<LONG>(InOrder([&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
                                   [&] { return m_Unit.MoveMonochromator(static_cast<LONG>(m_dwFirst)); },
                                   [&] { return m_Unit.SetMonochromatorSpeed(bCoarse ? COARSE_SPEED : FINE_SPEED); },
                                   [&] { return m_Unit.SetMeasurementLength(bCoarse ? COARSE_LENGTH : 1); }));
}

LONG Scan::RunSegment(std::size_t nIndex) {
  const ScanSegment& segment = m_Plan.segments[nIndex];
  LogSegment(nIndex);
  if (CancelSeen()) {
    return 0;
  }
  if (const LONG iResult = SetOptics(segment); iResult != 0 || CancelSeen()) {
    return iResult;
  }
  if (const LONG iResult = ReadDark(); iResult != 0 || CancelSeen()) {
    return iResult;
  }
  NKDbgPrintfW("[Scan] CMD: %s (exp %d pts)\n", Shown(segment).c_str(), static_cast<int>(segment.dwExpected));
  NKDbgPrintfW("[Scan] set ADSpeed to %d", static_cast<int>(SCAN_AD_SPEED));
  const LONG iResult = CollectSegment(nIndex);
  const bool bLast = nIndex + 1 == m_Plan.segments.size();
  if (iResult == 0 && bLast && m_Request.m_bTurbidity && !CancelSeen()) {
    if (const LONG iTurbidity = AppendTurbidity(); iTurbidity != 0) {
      return iTurbidity;
    }
  }
  if (iResult == 0) {
    DeliverBatch();
  }
  return iResult;
}

LONG Scan::SetOptics(const ScanSegment& segment) {
  const bool bDeuterium = segment.dwLamp == DEUTERIUM_PATH;
  return static_cast<LONG>(InOrder(
      [&] { return m_Unit.SetMirror(segment.dwLamp); },
      [&] {
        return bDeuterium ? m_Unit.SetDeuteriumLamp(TRUE) : m_Unit.SetHalogenLamp(TRUE, segment.bHalogenHighPower);
      },
      [&] { return m_Unit.SetFilter(segment.dwFilter); }, [&] { return m_Unit.SetGain(segment.bGain); }));
}

LONG Scan::ReadDark() {
  return static_cast<LONG>(InOrder([&] { return m_Unit.SetADSpeed(READING_AD_SPEED); },
                                   [&] { return ReadWithShutter(m_Unit, m_Detectors, Shutter::Closed, &m_Dark); },
                                   [&] { return m_Unit.SetShutter(FALSE); },
                                   [&] { return m_Unit.SetADSpeed(SCAN_AD_SPEED); }));
}

// ---- the stream ----

LONG Scan::CollectSegment(std::size_t nIndex) {
  const ScanSegment& segment = m_Plan.segments[nIndex];
  m_State.Pause(segment.dwDelay);
  StorePosition(UNKNOWN);
  OpticalExchange exchange(m_Link, ExchangeKind::Data);
  if (!exchange.Send(segment.strCommand)) {
    return NOT_WRITTEN;
  }
  return CollectPoints(exchange, segment.dwExpected);
}

LONG Scan::CollectPoints(OpticalExchange& exchange, DWORD dwExpected) {
  PointStream stream(dwExpected);
  std::vector<Reading> points;
  for (;;) {
    std::string bytes;
    const OpticalExchange::Arrival arrival = Wait(exchange, bytes);
    if (arrival == OpticalExchange::Arrival::Cancel) {
      continue;
    }
    if (arrival == OpticalExchange::Arrival::Silence) {
      if (!m_State.IsStopping()) {
        LogPhotometerF(TRUE, "[Scan] Timeout: received %d pts, %d expected", static_cast<int>(stream.Received()),
                       static_cast<int>(dwExpected));
      }
      return static_cast<LONG>(exchange.GiveUp(Backlog::Stream, SILENCE));
    }
    points.clear();
    const PointStream::Verdict verdict = exchange.TakePoints(bytes, stream, &points);
    if (verdict == PointStream::Verdict::Error || verdict == PointStream::Verdict::TooMuch) {
      return Reject(verdict, stream, dwExpected);
    }
    for (const Reading& reading : points) {
      AppendPoint(reading);
    }
    if (verdict == PointStream::Verdict::Complete) {
      return 0;
    }
    DeliverBatch();
  }
}

OpticalExchange::Arrival Scan::Wait(OpticalExchange& exchange, std::string& bytes) {
  if (m_bCanceled) {
    return exchange.Receive(bytes);
  }
  const OpticalExchange::Arrival arrival = exchange.ReceiveOrCancel(bytes);
  if (arrival == OpticalExchange::Arrival::Cancel) {
    LogPhotometerF(TRUE, "[Scan] Scan has been canceled !");
    m_bCanceled = true;
    m_iCancelResult = CANCELLED;
  }
  return arrival;
}

LONG Scan::Reject(PointStream::Verdict verdict, const PointStream& stream, DWORD dwExpected) {
  if (verdict == PointStream::Verdict::Error) {
    LogPhotometerF(TRUE, "[Scan] received 'error' ");
    return UNIT_ERROR;
  }
  LogPhotometerF(TRUE, "[Scan] Too much data: Answer.size= %d,  received %d pts,  %d expected",
                 static_cast<int>(stream.WaitingBytes()), static_cast<int>(stream.Received()),
                 static_cast<int>(dwExpected));
  return TOO_MUCH_DATA;
}

void Scan::AppendPoint(const Reading& reading) {
  MeasureValue value{};
  value.dwTag = m_Request.m_dwRequestId;
  value.dwPosition = m_dwFirst + m_dwOffset;
  if (m_dwOffset < m_Wavelengths.size()) {
    value.dWavelength = m_Wavelengths[m_dwOffset];
  } else {
    NKDbgPrintfW("[Scan] offset out of range: %d, size: %d\n\r", static_cast<int>(m_dwOffset),
                 static_cast<int>(m_Wavelengths.size()));
    value.dWavelength = m_Wavelengths.back();
  }
  const Reading corrected = WithoutDark(reading, m_Dark);
  value.dValue = corrected.dSample > 0.0 ? corrected.dSample : 1.0;
  value.dValueRef = corrected.dReference > 0.0 ? corrected.dReference : 1.0;
  value.dTurbidity = -1.0;
  value.iCuvetteSize = m_iCuvetteSize;
  m_Batch.push_back(value);
  m_dwOffset += PositionsPerPoint(m_Request);
}

LONG Scan::AppendTurbidity() {
  MeasureValue low = m_Batch.empty() ? MeasureValue{} : m_Batch.back();
  MarkAsTurbidity(&low);
  MeasureValue high = low;
  low.dwTag = 1;
  high.dwTag = 2;
  const DWORD dwResult =
      InOrder([&] { return m_Unit.SetADSpeed(READING_AD_SPEED); }, [&] { return m_Unit.SetShutter(TRUE); },
              [&] { return SetTurbidityRange(m_State, m_Unit, LOW_TURBIDITY_RANGE); },
              [&] { return m_Detectors.GetTurbidity(&low.dTurbidity); },
              [&] { return SetTurbidityRange(m_State, m_Unit, HIGH_TURBIDITY_RANGE); },
              [&] { return m_Detectors.GetTurbidity(&high.dTurbidity); }, [&] { return m_Unit.SetShutter(FALSE); });
  if (dwResult == 0) {
    m_Batch.insert(m_Batch.end(), {low, high});
  }
  return static_cast<LONG>(dwResult);
}

void Scan::DeliverBatch() {
  const DWORD dwId = m_Request.m_dwRequestId;
  m_Sink.Notify([&](IPhotometerSink& sink) { sink.OnResult(dwId, &m_Batch); });
  m_Batch.clear();
  NoteActivity();
}

// ---- end ----

void Scan::StorePosition(LONG iPosition) { m_State.Lock()->m_Cache[CacheEntry::MonochromatorPosition] = iPosition; }

void Scan::Finish(LONG iResult) {
  iResult = iResult != 0 ? iResult : m_iCancelResult;
  m_End.Report("ScanProc", iResult);
  NKDbgPrintfW("[Scan]  Exit: iResult= %d, bCancel= %s", iResult, TrueOrFalse(EndsCancelled(iResult)));
  m_End.MakeSafe();
  if (EndsCancelled(iResult)) {
    StorePosition(UNKNOWN);  // the next move is sent, wherever it goes
    m_End.NotifyCancelled(m_Request.m_dwRequestId);
    LogPhotometerF(TRUE, "[Scan] Canceled by user... iResult= %d", iResult);
    iResult = 0;
  }
  m_End.React(iResult);
  m_End.GiveBack();
  LogPhotometerF(TRUE, "[Scan] Thread closed with iResult= %d", iResult);
}

void Scan::LogSegment(std::size_t nIndex) const {
  const ScanSegment& segment = m_Plan.segments[nIndex];
  const int i = static_cast<int>(nIndex);
  NKDbgPrintfW("[Scan] >>>>>>>>>>>>>>>>>>>>");
  NKDbgPrintfW("[Scan] [%d] Expected= %d, Lamp= %d, Filter= %d, dwOffset= %d", i, static_cast<int>(segment.dwExpected),
               static_cast<int>(segment.dwLamp), static_cast<int>(segment.dwFilter), static_cast<int>(m_dwOffset));
  NKDbgPrintfW("[Scan] [%d] bGain= %s, bHalogenHighPower= %s", i, TrueOrFalse(segment.bGain),
               TrueOrFalse(segment.bHalogenHighPower));
  NKDbgPrintfW("[Scan] [%d] Command: [%s]", i, Shown(segment).c_str());
}

}  // namespace photometer
