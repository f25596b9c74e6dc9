#include "monitors/LampHours.h"

#include "platform/Platform.h"

namespace photometer {

using namespace platform;

namespace {

constexpr const char16_t* LAMP_KEY = u"\\Veltranometrik";

bool AddToValue(HANDLE hKey, const char16_t* name, DWORD dwCount) {
  DWORD dwValue = 0;
  return RegQueryValueExW(hKey, name, &dwValue) == ERROR_SUCCESS &&
         RegSetValueExW(hKey, name, dwValue + dwCount) == ERROR_SUCCESS;
}

}  // namespace

HRESULT AddLampSeconds(const char16_t* name, DWORD dwCount) {
  HANDLE hKey = 0;
  if (RegOpenKeyExW(LAMP_KEY, &hKey) != ERROR_SUCCESS) {
    return E_FAIL;
  }
  const bool bAdded = AddToValue(hKey, name, dwCount);
  RegCloseKey(hKey);
  return bAdded ? S_OK : E_FAIL;
}

}  // namespace photometer
