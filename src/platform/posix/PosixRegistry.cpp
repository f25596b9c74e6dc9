#include "platform/posix/PosixRegistry.h"

#include <fcntl.h>

#include <cerrno>
#include <utility>

#include "platform/Platform.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/RegistryText.h"

namespace photometer::platform {

namespace {

constexpr std::size_t FileLimit = 65536;

/// What a new instrument starts with.
constexpr std::string_view NewRegistry =
    "# Lamp-on time of the instrument, in ticks of about one second.\n"
    "[\\Veltranometrik]\n"
    "HalLamp=0\n"
    "UVLamp=0\n";

std::optional<RegistryText> Load(const std::string& path) {
  const HostFile file = HostFile::Open(path, O_RDONLY | O_NONBLOCK);
  const std::optional<std::string> text = file.IsRegular() ? file.ReadAll(FileLimit) : std::nullopt;
  return text.has_value() ? RegistryText::Parse(*text) : std::nullopt;
}

}  // namespace

PosixRegistry::PosixRegistry(std::string path) : m_strPath(std::move(path)) {}

bool PosixRegistry::CreateIfAbsent() const {
  if (HostFile::Open(m_strPath, O_PATH).IsOpen()) {
    return true;
  }
  return errno == ENOENT && ReplaceHostFile(m_strPath, NewRegistry);
}

HANDLE PosixRegistry::OpenKey(const std::u16string& path) {
  const std::string key = ToUtf8(path);
  const std::lock_guard<std::mutex> lock(m_mutex);
  const std::optional<RegistryText> text = Load(m_strPath);
  if (!text.has_value() || !text->HasKey(key)) {
    return 0;
  }
  const HANDLE handle = NewHandle(HandleKind::RegistryKey);
  m_keys.emplace(handle, key);
  return handle;
}

std::optional<DWORD> PosixRegistry::QueryValue(HANDLE key, const std::u16string& name) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_keys.find(key);
  if (found == m_keys.end()) {
    return std::nullopt;
  }
  const std::optional<RegistryText> text = Load(m_strPath);
  return text.has_value() ? text->Find(found->second, ToUtf8(name)) : std::nullopt;
}

bool PosixRegistry::SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  const auto found = m_keys.find(key);
  if (found == m_keys.end()) {
    return false;
  }
  std::optional<RegistryText> text = Load(m_strPath);
  return text.has_value() && text->Set(found->second, ToUtf8(name), dwValue) &&
         ReplaceHostFile(m_strPath, text->ToText());
}

bool PosixRegistry::CloseKey(HANDLE key) {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_keys.erase(key) == 1;
}

}  // namespace photometer::platform
