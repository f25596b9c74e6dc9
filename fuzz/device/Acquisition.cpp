// Input: which data command (a byte), the number of points of a scan (a byte), and the unit's answer in pieces.
// Checks: results are those of the command; a result of 0 comes with exactly the bytes that the command is owed, and
// with their values, however they were split; any other result leaves the host's values alone.
#include <algorithm>
#include <array>
#include <vector>

#include "support/DeviceBench.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::DWORD;

constexpr double UNTOUCHED = -1.0;
constexpr DWORD LAST_POSITION = 5000;
constexpr std::size_t STREAM_END = 3;

/// The values of the bytes, by their definition: three bytes each, most significant first.
std::vector<double> ValuesOf(const std::string& bytes) {
  std::vector<double> values;
  for (std::size_t n = 0; n + 3 <= bytes.size(); n += 3) {
    double dValue = 0.0;
    for (const char byte : bytes.substr(n, 3)) {
      dValue = dValue * 256.0 + static_cast<unsigned char>(byte);
    }
    values.push_back(dValue);
  }
  return values;
}

/// Exactly the bytes; for the first `nBytes` of more, a reader that took them before the rest came is right, too.
void CheckLength(DWORD dwCause, const std::string& came, std::size_t nBytes) {
  if (dwCause == 0) {
    Require(came.size() >= nBytes, "a value without its bytes");
  } else if (dwCause == photometer::CAUSE_SILENCE) {
    Require(came.size() < nBytes, "silence in spite of all bytes");
  } else if (dwCause == photometer::CAUSE_TOO_LONG) {
    Require(came.size() > nBytes, "too long within the length");
  } else {
    Require(false, "a result that the command does not have");
  }
}

void CheckReading(fuzz::DeviceBench& bench, const std::string& came) {
  double dSample = UNTOUCHED;
  double dReference = UNTOUCHED;
  const DWORD dwResult = bench.detectors.GetADValue(&dSample, &dReference);
  CheckLength(dwResult == 0 ? 0 : dwResult - 130, came, 18);
  if (dwResult != 0) {
    return Require(dSample == UNTOUCHED && dReference == UNTOUCHED, "a failed reading leaves the values alone");
  }
  const std::vector<double> values = ValuesOf(came);
  Require(dSample == (values[0] + values[2] + values[4]) / 3.0, "sample: the mean of three readings");
  Require(dReference == (values[1] + values[3] + values[5]) / 3.0, "reference: the mean of three readings");
}

void CheckTurbidity(fuzz::DeviceBench& bench, const std::string& came) {
  double dValue = UNTOUCHED;
  const DWORD dwResult = bench.detectors.GetTurbidity(&dValue);
  CheckLength(dwResult == 0 ? 0 : dwResult - 160, came, 96);
  if (dwResult != 0) {
    return Require(dValue == UNTOUCHED, "a failed reading leaves the value alone");
  }
  const std::vector<double> values = ValuesOf(came);
  double dSum = 0.0;
  for (std::size_t nGroup = 0; nGroup < 8; ++nGroup) {
    dSum += values[nGroup * 4 + 2] - values[nGroup * 4];
  }
  dSum += dSum < 0.0 ? 4294967296.0 : 0.0;  // the sum has 32 bits
  Require(dValue == dSum / 8.0, "turbidity: the mean of eight differences");
}

/// A surplus that makes no whole point is waited for in vain, as an end that is missing is.
void CheckScanLength(DWORD dwCause, const std::string& came, std::size_t nPoints) {
  if (dwCause == photometer::CAUSE_ERROR) {
    Require(came.find("error") != std::string::npos, "error without its bytes");
  } else if (dwCause == photometer::CAUSE_SILENCE) {
    Require(came.size() != nPoints * 6 + STREAM_END && came.size() / 6 <= nPoints, "silence in spite of all bytes");
  } else if (dwCause == photometer::CAUSE_TOO_LONG) {
    Require(came.size() / 6 > nPoints, "too long within the length");
  } else {
    CheckLength(dwCause, came, nPoints * 6 + STREAM_END);
  }
}

void CheckScan(fuzz::DeviceBench& bench, const std::string& came, std::size_t nPoints) {
  std::vector<double> samples(nPoints, UNTOUCHED);
  std::vector<double> references(nPoints, UNTOUCHED);
  const DWORD dwResult =
      bench.detectors.Scan(LAST_POSITION, samples.data(), references.data(), static_cast<DWORD>(nPoints));
  CheckScanLength(dwResult == 0 ? 0 : dwResult - 150, came, nPoints);
  const photometer::LONG iPosition = bench.state.Lock()->m_Cache[photometer::CacheEntry::MonochromatorPosition];
  Require(iPosition == (dwResult == 0 ? static_cast<photometer::LONG>(LAST_POSITION + 1) : photometer::UNKNOWN),
          "the position is known after a whole scan only");
  const std::vector<double> values = ValuesOf(came);
  for (std::size_t n = 0; n < nPoints; ++n) {
    Require(samples[n] == (dwResult == 0 ? values[n * 2] : UNTOUCHED), "sample of a point");
    Require(references[n] == (dwResult == 0 ? values[n * 2 + 1] : UNTOUCHED), "reference of a point");
  }
}

void Check(std::string_view input) {
  const std::uint8_t nCommand = fuzz::TakeByte(&input);
  const std::size_t nPoints = fuzz::TakeByte(&input);
  const std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input);
  fuzz::DeviceBench bench(fuzz::FarEnd::OpticalUnit);
  bench.device.Answer(pieces);
  const std::string came = fuzz::InTime(pieces);
  switch (nCommand % 3) {
    case 0:
      return CheckReading(bench, came);
    case 1:
      return CheckTurbidity(bench, came);
    default:
      return CheckScan(bench, came, nPoints);
  }
}

const fuzz::Target target("Acquisition", Check);

}  // namespace
