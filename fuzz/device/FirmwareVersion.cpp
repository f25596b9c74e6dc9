// Input: the unit's answer to the question for its firmware version, in pieces.
// Checks: the result is 0 or 202 and nothing else; the version is what stands before the first "ok", as far as the
// status has room, however it was split; it always ends in the status; without an "ok" in time it is "-".
#include <algorithm>

#include "support/DeviceBench.h"
#include "support/Target.h"

namespace {

using fuzz::Require;

void Check(std::string_view input) {
  const std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input);
  const std::string came = fuzz::InTime(pieces);
  fuzz::DeviceBench bench(fuzz::FarEnd::OpticalUnit);
  bench.device.Answer(pieces);
  const photometer::DWORD dwResult = bench.unit.ReadFirmwareVersion();
  const photometer::DeviceStatus status = bench.state.Lock()->m_Status;
  const std::u16string_view version(std::begin(status.szFirmwareVersion), std::end(status.szFirmwareVersion));
  Require(version.back() == u'\0', "the version ends in the status");

  const std::size_t nOk = came.find("ok");
  Require(dwResult == (nOk == std::string::npos ? 202U : 0U), "0 with an ok in time, else 202");
  const std::string text = nOk == std::string::npos ? "-" : came.substr(0, nOk);
  std::u16string expected = photometer::MultiByteToWideChar(text).substr(0, version.size() - 1);
  expected.resize(version.size(), u'\0');
  Require(version == expected, "the version is what stands before the ok");
}

const fuzz::Target target("FirmwareVersion", Check);

}  // namespace
