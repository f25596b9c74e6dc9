#include "LogTail.h"

#include <algorithm>
#include <charconv>

#include "logging/LogFiles.h"
#include "platform/Platform.h"

namespace host {

namespace {

namespace layer = photometer::platform;

// A log grows to 1 MiB before it is moved; a device that runs for months between may have more.
constexpr std::size_t LongestLog = 64U << 20U;
constexpr int ShownLines = 4;
constexpr std::string_view PumpMark = "Pump(), iResult= ";

}  // namespace

LogTail::LogTail() {
  const auto status = layer::FindFirstFileW(photometer::DeviceLogPath);
  m_nStart = status ? static_cast<std::size_t>(status->nBytes) : 0;
}

std::string LogTail::Text() const {
  const std::string log = layer::LoadFileW(photometer::DeviceLogPath, LongestLog).value_or("");
  // The log is Windows-1252.
  return log.size() > m_nStart ? layer::ToUtf8(layer::MultiByteToWideChar(log.substr(m_nStart))) : std::string();
}

std::string LogTail::LastLines() const {
  std::string text = Text();
  std::size_t nBegin = text.size();
  for (int i = 0; i < ShownLines && nBegin > 0; ++i) {
    const std::size_t nBefore = nBegin >= 2 ? text.rfind('\n', nBegin - 2) : std::string::npos;
    nBegin = nBefore == std::string::npos ? 0 : nBefore + 1;
    text.insert(nBegin, "  ");
  }
  return text.substr(nBegin);
}

std::optional<photometer::LONG> LogTail::PumpError() const {
  const std::string text = Text();
  const std::size_t nMark = text.rfind(PumpMark);
  if (nMark == std::string::npos) {
    return std::nullopt;
  }
  photometer::LONG iNumber = 0;
  const char* pNumber = text.data() + nMark + PumpMark.size();
  const auto [pEnd, error] = std::from_chars(pNumber, text.data() + text.size(), iNumber);
  return error == std::errc() && iNumber != 0 ? std::optional(iNumber) : std::nullopt;
}

}  // namespace host
