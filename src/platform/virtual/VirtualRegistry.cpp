#include "platform/virtual/VirtualRegistry.h"

#include "platform/Platform.h"
#include "platform/Sanitizers.h"

namespace photometer::platform {

VirtualRegistry::VirtualRegistry(Scheduler& scheduler, RuleChecks& checks) : m_scheduler(scheduler), m_checks(checks) {
  Put(u"\\Veltranometrik", u"HalLamp", 0);
  Put(u"\\Veltranometrik", u"UVLamp", 0);
}

void VirtualRegistry::Put(const std::u16string& key, const std::u16string& name, DWORD dwValue) {
  m_keys[key][name] = dwValue;
}

std::vector<std::string> VirtualRegistry::Leftovers() const {
  std::vector<std::string> names;
  for (const auto& [handle, path] : m_handles) {
    names.push_back("registry key " + ToUtf8(path) + ", handle open");
  }
  return names;
}

HANDLE VirtualRegistry::OpenKey(const std::u16string& path) {
  const UnobservedScope scope;
  m_scheduler.Point("RegOpenKeyExW");
  if (!m_keys.contains(path)) {
    return 0;
  }
  return m_handles.emplace(NewHandle(HandleKind::RegistryKey), path).first->first;
}

VirtualRegistry::Values* VirtualRegistry::Find(HANDLE key) {
  const auto found = m_handles.find(key);
  if (found == m_handles.end()) {
    m_checks.BadHandle(m_scheduler.Current(), key);
    return nullptr;
  }
  return &m_keys.at(found->second);
}

std::optional<DWORD> VirtualRegistry::QueryValue(HANDLE key, const std::u16string& name) {
  const UnobservedScope scope;
  m_scheduler.Point("RegQueryValueExW");
  const Values* pValues = Find(key);
  if (pValues == nullptr || !pValues->contains(name)) {
    return std::nullopt;
  }
  return pValues->at(name);
}

bool VirtualRegistry::SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) {
  const UnobservedScope scope;
  const VirtualThread& thread = m_scheduler.Point("RegSetValueExW");
  m_checks.StorageWriteBegins(thread, "registry value " + ToUtf8(name));
  Values* pValues = Find(key);
  if (pValues == nullptr) {
    return false;
  }
  (*pValues)[name] = dwValue;
  return true;
}

bool VirtualRegistry::CloseKey(HANDLE key) {
  const UnobservedScope scope;
  const VirtualThread& thread = m_scheduler.Point("RegCloseKey");
  const auto found = m_handles.find(key);
  if (found == m_handles.end()) {
    m_checks.BadHandle(thread, key);
    return false;
  }
  m_checks.HandleClosed(thread, key, "registry key " + ToUtf8(found->second));
  m_handles.erase(found);
  return true;
}

}  // namespace photometer::platform
