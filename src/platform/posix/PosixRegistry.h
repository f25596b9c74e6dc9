/// The registry as one readable file of the host:
///
///     # Lamp-on time of the instrument, in ticks of about one second.
///     [\Veltranometrik]
///     HalLamp=123
///     UVLamp=0
///
/// The file is read for each access, so that a change made by hand counts at once, and replaced whole: after a power
/// cut the old or the new content stands. Comments and order are kept. Upper and lower case differ.
///
/// **Damage.** A value that is not a number of 32 bits, or is there twice, is a missing value, and cannot be set. A
/// file with any other line that is not understood, with a key twice, or longer than 64 KiB has no keys at all. The
/// registry never repairs either: a person may still read the count. All operations may be called from all threads.
#pragma once

#include <map>
#include <mutex>
#include <string>

#include "platform/Board.h"

namespace photometer::platform {

class PosixRegistry final : public Registry {
 public:
  explicit PosixRegistry(std::string path);

  /// Makes the file, with both lamp counters 0, when there is none. False: there is none and it cannot be made.
  [[nodiscard]] bool CreateIfAbsent() const;

  HANDLE OpenKey(const std::u16string& path) override;
  std::optional<DWORD> QueryValue(HANDLE key, const std::u16string& name) override;
  bool SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) override;
  bool CloseKey(HANDLE key) override;

 private:
  std::string m_strPath;
  std::mutex m_mutex;
  /// Open keys and their paths.
  std::map<HANDLE, std::string> m_keys;
};

}  // namespace photometer::platform
