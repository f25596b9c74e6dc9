/// Where in the sources a function of the layer is called, and who is asked there whether the call fails.
///
/// Each function of the layer that can fail takes its call site as a last argument that fills itself in. Fault
/// injection hangs itself in with `SetCallHook`; without a hook a call pays one load and one comparison.
#pragma once

#include <optional>
#include <string_view>

namespace photometer::platform {

/// File and line of a call. The file is named as the compiler was told; within one line, calls of the same function are
/// one site.
struct CallSite {
  const char* pFile = "";
  unsigned nLine = 0;

  /// As a default argument: the place of the call that it is an argument of.
  static constexpr CallSite Here(const char* pFile = __builtin_FILE(), unsigned nLine = __builtin_LINE()) {
    return {pFile, nLine};
  }
};

/// The functions that can fail. Closing is not among them: a handle that stays open would be a leak of our own making.
/// `SetEvent` and `ResetEvent` count as `EventModify`, `WaitForSingleObject` as `WaitForMultipleObjects`,
/// `GetFileAttributesW` as `FindFirstFileW`.
enum class LayerCall : unsigned char {
  CreateThread,
  CreateEventW,
  EventModify,
  WaitForMultipleObjects,
  LocalAlloc,
  CreateFileW,
  GetCommState,
  SetCommState,
  SetCommMask,
  SetCommTimeouts,
  PurgeComm,
  ReadFile,
  WriteFile,
  GpioOpenHandle,
  GpioSetupPin,
  GpioSetOutput,
  GpioGetInput,
  FindFirstFileW,
  CreateDirectoryW,
  CopyFileW,
  DeleteFileW,
  AppendFileW,
  ReplaceFileW,
  LoadFileW,
  GetModuleFileNameW,
  RegOpenKeyExW,
  RegQueryValueExW,
  RegSetValueExW,
  GetDateFormatW,
  GetTimeFormatW
};
inline constexpr unsigned LayerCalls = static_cast<unsigned>(LayerCall::GetTimeFormatW) + 1;

/// `CreateEventW` and so on.
[[nodiscard]] std::string_view NameOf(LayerCall call);
/// The call of that name, or nothing.
[[nodiscard]] std::optional<LayerCall> LayerCallNamed(std::string_view name);

class CallHook {
 public:
  virtual ~CallHook() = default;
  /// A call begins, on any thread. True: it fails as if the system had refused it, and the board never sees it.
  virtual bool Fails(LayerCall call, const CallSite& site) = 0;
};

/// The hook that every call asks from now on; null: none. Returns the one before. Set it while no other thread calls.
CallHook* SetCallHook(CallHook* pHook);
/// What a function of the layer asks first.
[[nodiscard]] bool CallFails(LayerCall call, const CallSite& site);

}  // namespace photometer::platform
