#include "platform/posix/PosixPins.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "platform/posix/HostFile.h"

namespace photometer::platform {

namespace {

constexpr DWORD OutputMode = 1;

/// The level that a value file's text tells.
DWORD LevelOf(std::string_view text) {
  const std::string_view level = text.substr(0, text.find_first_of("\r\n"));
  if (level == "0" || level == "1") {
    return level == "1" ? 1 : 0;
  }
  return UnreadablePin;
}

}  // namespace

PosixPins::PosixPins(std::string folder) : m_strFolder(std::move(folder)) {}

HANDLE PosixPins::OpenHandle() {
  if (m_strFolder.empty() || !HostFile::Open(m_strFolder, O_PATH | O_DIRECTORY).IsOpen()) {
    return INVALID_HANDLE_VALUE;
  }
  const HANDLE handle = NewHandle(HandleKind::Pins);
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_handles.insert(handle);
  return handle;
}

bool PosixPins::SetupPin(HANDLE handle, DWORD /*dwPort*/, DWORD dwPin, DWORD dwMode) {
  if (!IsOpen(handle)) {
    return false;
  }
  const HostFile file = HostFile::Open(KernelPath(dwPin, "direction"), O_WRONLY | O_NONBLOCK);
  if (!file.IsOpen()) {
    return errno == ENOENT;
  }
  return file.WriteOnce(dwMode == OutputMode ? "out\n" : "in\n");
}

bool PosixPins::SetOutput(HANDLE handle, DWORD /*dwPort*/, DWORD dwPin, DWORD dwLevel) {
  if (!IsOpen(handle)) {
    return false;
  }
  HostFile file = HostFile::Open(KernelPath(dwPin, "value"), O_WRONLY | O_NONBLOCK);
  if (!file.IsOpen()) {
    file = HostFile::Open(PlainPath(dwPin), O_WRONLY | O_CREAT | O_NONBLOCK);
  }
  return file.IsOpen() && file.WriteOnce(dwLevel == 0 ? "0\n" : "1\n");
}

DWORD PosixPins::GetInput(HANDLE handle, DWORD /*dwPort*/, DWORD dwPin) {
  if (!IsOpen(handle)) {
    return UnreadablePin;
  }
  HostFile file = HostFile::Open(KernelPath(dwPin, "value"), O_RDONLY | O_NONBLOCK);
  if (!file.IsOpen()) {
    file = HostFile::Open(PlainPath(dwPin), O_RDONLY | O_NONBLOCK);
  }
  std::array<char, 8> text{};
  const std::optional<std::size_t> nRead = file.IsOpen() ? file.ReadSome(text.data(), text.size()) : std::nullopt;
  return nRead.has_value() ? LevelOf({text.data(), *nRead}) : UnreadablePin;
}

bool PosixPins::CloseHandle(HANDLE handle) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_handles.erase(handle) == 1;
}

bool PosixPins::IsOpen(HANDLE handle) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_handles.contains(handle);
}

std::string PosixPins::KernelPath(DWORD dwPin, const char* file) const {
  return m_strFolder + "/gpio" + std::to_string(dwPin) + "/" + file;
}

std::string PosixPins::PlainPath(DWORD dwPin) const { return m_strFolder + "/pin" + std::to_string(dwPin); }

}  // namespace photometer::platform
