/// Pins as value files in a folder of the host.
///
/// Pin 10 is the file `gpio10/value` if there is one (the kernel's sysfs interface), else the file `pin10`. It holds
/// `0` or `1`, a line end may follow. An output writes there too, and makes the file `pin9` when there is neither. The
/// board's port numbers play no part: the pins in use have different numbers. Mode 1 of `SetupPin` is an output, any
/// other mode an input; where the pin has a `gpio9/direction` file it is told so.
/// All operations may be called from all threads.
#pragma once

#include <mutex>
#include <set>
#include <string>

#include "platform/Board.h"

namespace photometer::platform {

class PosixPins final : public Pins {
 public:
  /// An empty folder: the board has no pins.
  explicit PosixPins(std::string folder);

  HANDLE OpenHandle() override;
  bool SetupPin(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwMode) override;
  bool SetOutput(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) override;
  DWORD GetInput(HANDLE handle, DWORD dwPort, DWORD dwPin) override;
  bool CloseHandle(HANDLE handle) override;

 private:
  bool IsOpen(HANDLE handle);
  /// `<folder>/gpio10/<file>`.
  [[nodiscard]] std::string KernelPath(DWORD dwPin, const char* file) const;
  /// `<folder>/pin10`.
  [[nodiscard]] std::string PlainPath(DWORD dwPin) const;

  std::string m_strFolder;
  std::mutex m_mutex;
  std::set<HANDLE> m_handles;
};

}  // namespace photometer::platform
