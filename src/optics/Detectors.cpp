#include "optics/Detectors.h"

#include <algorithm>

#include "optics/OpticalExchange.h"

namespace photometer {

namespace {

constexpr DWORD BASE_AD_VALUE = 130;
constexpr DWORD BASE_SCAN = 150;
constexpr DWORD BASE_TURBIDITY = 160;

constexpr std::size_t AD_VALUE_BYTES = 3 * READING_BYTES;
constexpr std::size_t TURBIDITY_BYTES = 96;
/// Longest text of a scan command, bytes.
constexpr std::size_t SCAN_COMMAND_LIMIT = 15;

}  // namespace

std::string ScanCommand(DWORD dwLastPosition) {
  return FormatText(SCAN_COMMAND_LIMIT, "$s%d\r", static_cast<int>(dwLastPosition + 1));
}

DWORD Detectors::GetADValue(double* pSample, double* pReference) {
  m_State.SetLastCommand("GetADValue");
  std::string answer;
  if (const DWORD dwCause = ReadAnswer("$a3\r", AD_VALUE_BYTES, answer); dwCause != 0) {
    return BASE_AD_VALUE + dwCause;
  }
  const Reading reading = AverageReading(answer);
  if (pSample != nullptr) {
    *pSample = reading.dSample;
  }
  if (pReference != nullptr) {
    *pReference = reading.dReference;
  }
  return 0;
}

DWORD Detectors::Scan(DWORD dwLastPosition, double* pSample, double* pReference, DWORD dwCount) {
  m_State.SetLastCommand("Scan");
  m_State.Lock()->m_Cache[CacheEntry::MonochromatorPosition] = UNKNOWN;  // where a scan ends that fails, nobody knows
  std::vector<Reading> points;
  points.reserve(dwCount);
  if (const DWORD dwCause = ReadScan(ScanCommand(dwLastPosition), dwCount, &points); dwCause != 0) {
    return BASE_SCAN + dwCause;
  }
  if (pSample != nullptr) {
    std::ranges::transform(points, pSample, &Reading::dSample);
  }
  if (pReference != nullptr) {
    std::ranges::transform(points, pReference, &Reading::dReference);
  }
  m_State.Lock()->m_Cache[CacheEntry::MonochromatorPosition] = static_cast<LONG>(dwLastPosition + 1);
  return 0;
}

DWORD Detectors::GetTurbidity(double* pValue) {
  NKDbgPrintfW("[Photometer] GetTurbidity() entered.");
  m_State.SetLastCommand("GetTurbidity");
  std::string answer;
  if (const DWORD dwCause = ReadAnswer("$t\r", TURBIDITY_BYTES, answer); dwCause != 0) {
    return BASE_TURBIDITY + dwCause;
  }
  if (pValue != nullptr) {
    *pValue = DecodeTurbidity(answer);
  }
  return 0;
}

DWORD Detectors::ReadAnswer(const char* strCommand, std::size_t nLength, std::string& answer) {
  OpticalExchange exchange(m_Link, ExchangeKind::Data);
  if (!exchange.Send(strCommand)) {
    return CAUSE_WRITE;
  }
  while (answer.size() != nLength) {
    if (exchange.Receive(answer) == OpticalExchange::Arrival::Silence) {
      return exchange.GiveUp(Backlog::Answer, CAUSE_SILENCE);
    }
    if (answer.size() > nLength) {
      return exchange.GiveUp(Backlog::Answer, CAUSE_TOO_LONG);
    }
  }
  return 0;
}

DWORD Detectors::ReadScan(const std::string& strCommand, DWORD dwCount, std::vector<Reading>* pPoints) {
  OpticalExchange exchange(m_Link, ExchangeKind::Data);
  if (!exchange.Send(strCommand)) {
    return CAUSE_WRITE;
  }
  PointStream stream(dwCount);
  while (!stream.IsAtItsEnd()) {
    std::string bytes;
    if (exchange.Receive(bytes) == OpticalExchange::Arrival::Silence) {
      return exchange.GiveUp(Backlog::Stream, CAUSE_SILENCE);
    }
    const PointStream::Verdict verdict = stream.Take(bytes, pPoints);
    if (verdict == PointStream::Verdict::Error) {
      return exchange.GiveUp(Backlog::Stream, CAUSE_ERROR);
    }
    if (verdict == PointStream::Verdict::TooMuch || exchange.Overflowed()) {
      return exchange.GiveUp(Backlog::Stream, CAUSE_TOO_LONG);
    }
  }
  return 0;
}

}  // namespace photometer
