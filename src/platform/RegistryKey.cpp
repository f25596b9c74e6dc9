#include "platform/Platform.h"

namespace photometer::platform {

LONG RegOpenKeyExW(const char16_t* path, HANDLE* pKey, CallSite site) {
  *pKey = CallFails(LayerCall::RegOpenKeyExW, site) ? 0 : CurrentBoard().GetRegistry().OpenKey(path);
  return *pKey == 0 ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

LONG RegQueryValueExW(HANDLE hKey, const char16_t* name, DWORD* pValue, CallSite site) {
  if (KindOf(hKey) != HandleKind::RegistryKey) {
    return ERROR_INVALID_HANDLE;
  }
  if (CallFails(LayerCall::RegQueryValueExW, site)) {
    return ERROR_FILE_NOT_FOUND;
  }
  const std::optional<DWORD> value = CurrentBoard().GetRegistry().QueryValue(hKey, name);
  if (!value.has_value()) {
    return ERROR_FILE_NOT_FOUND;
  }
  *pValue = *value;
  return ERROR_SUCCESS;
}

LONG RegSetValueExW(HANDLE hKey, const char16_t* name, DWORD dwValue, CallSite site) {
  if (KindOf(hKey) != HandleKind::RegistryKey) {
    return ERROR_INVALID_HANDLE;
  }
  if (CallFails(LayerCall::RegSetValueExW, site)) {
    return ERROR_WRITE_FAULT;
  }
  return CurrentBoard().GetRegistry().SetValue(hKey, name, dwValue) ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

LONG RegCloseKey(HANDLE hKey) {
  return CurrentBoard().GetRegistry().CloseKey(hKey) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

}  // namespace photometer::platform
