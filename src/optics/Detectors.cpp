#include "optics/Detectors.h"

#include "optics/OpticalExchange.h"

namespace photometer {

namespace {

constexpr DWORD BASE_AD_VALUE = 130;
constexpr DWORD BASE_SCAN = 150;
constexpr DWORD BASE_TURBIDITY = 160;

constexpr std::size_t AD_VALUE_BYTES = 3 * READING_BYTES;
constexpr std::size_t TURBIDITY_BYTES = 96;
/// Longest command text, bytes.
constexpr std::size_t COMMAND_LIMIT = 16;

}  // namespace

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
  const std::string strCommand = FormatText(COMMAND_LIMIT, "$s%d\r", static_cast<int>(dwLastPosition + 1));
  std::string answer;
  if (const DWORD dwCause = ReadScan(strCommand, dwCount, answer); dwCause != 0) {
    return BASE_SCAN + dwCause;
  }
  for (std::size_t i = 0; i < dwCount; ++i) {
    const Reading reading = DecodeReading(answer, i * READING_BYTES);
    if (pSample != nullptr) {
      pSample[i] = reading.dSample;
    }
    if (pReference != nullptr) {
      pReference[i] = reading.dReference;
    }
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

DWORD Detectors::ReadScan(const std::string& strCommand, DWORD dwCount, std::string& answer) {
  OpticalExchange exchange(m_Link, ExchangeKind::Data);
  if (!exchange.Send(strCommand)) {
    return CAUSE_WRITE;
  }
  const std::size_t nLength = dwCount * READING_BYTES + PointStream::END_BYTES;
  answer.reserve(nLength);
  while (answer.size() != nLength) {
    const std::size_t nSearched = answer.size();
    if (exchange.Receive(answer) == OpticalExchange::Arrival::Silence) {
      return exchange.GiveUp(Backlog::Stream, CAUSE_SILENCE);
    }
    // The word may have begun in the block before; what lies further back has been searched.
    if (answer.find("error", nSearched < 4 ? 0 : nSearched - 4) != std::string::npos) {
      return exchange.GiveUp(Backlog::Stream, CAUSE_ERROR);
    }
    if (answer.size() / READING_BYTES > dwCount || exchange.Overflowed()) {
      return exchange.GiveUp(Backlog::Stream, CAUSE_TOO_LONG);
    }
  }
  return 0;
}

}  // namespace photometer
