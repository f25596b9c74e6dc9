#include "platform/CallSite.h"

#include <algorithm>
#include <array>
#include <atomic>

namespace photometer::platform {

namespace {

/// In the order of the calls.
constexpr std::array<std::string_view, LayerCalls> CallNames = {
    "CreateThread",       "CreateEventW",    "EventModify",      "WaitForMultipleObjects",
    "LocalAlloc",         "CreateFileW",     "GetCommState",     "SetCommState",
    "SetCommMask",        "SetCommTimeouts", "PurgeComm",        "ReadFile",
    "WriteFile",          "GpioOpenHandle",  "GpioSetupPin",     "GpioSetOutput",
    "GpioGetInput",       "FindFirstFileW",  "CreateDirectoryW", "CopyFileW",
    "DeleteFileW",        "AppendFileW",     "ReplaceFileW",     "LoadFileW",
    "GetModuleFileNameW", "RegOpenKeyExW",   "RegQueryValueExW", "RegSetValueExW",
    "GetDateFormatW",     "GetTimeFormatW"};

std::atomic<CallHook*> currentHook{nullptr};

}  // namespace

std::string_view NameOf(LayerCall call) { return CallNames.at(static_cast<std::size_t>(call)); }

std::optional<LayerCall> LayerCallNamed(std::string_view name) {
  const auto* const pName = std::ranges::find(CallNames, name);
  return pName == CallNames.end() ? std::nullopt : std::optional(static_cast<LayerCall>(pName - CallNames.begin()));
}

CallHook* SetCallHook(CallHook* pHook) { return currentHook.exchange(pHook); }

bool CallFails(LayerCall call, const CallSite& site) {
  CallHook* const pHook = currentHook.load(std::memory_order_acquire);
  return pHook != nullptr && pHook->Fails(call, site);
}

}  // namespace photometer::platform
