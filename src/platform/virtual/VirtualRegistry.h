/// The virtual board's registry: keys with 32-bit values, in memory.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Board.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/Scheduler.h"

namespace photometer::platform {

class VirtualRegistry final : public Registry {
 public:
  /// Makes the key that every board has: \Veltranometrik with HalLamp and UVLamp, both 0.
  VirtualRegistry(Scheduler& scheduler, RuleChecks& checks);

  /// As `VirtualBoard::SetRegistryValue`.
  void Put(const std::u16string& key, const std::u16string& name, DWORD dwValue);
  [[nodiscard]] std::vector<std::string> Leftovers() const;

  HANDLE OpenKey(const std::u16string& path) override;
  std::optional<DWORD> QueryValue(HANDLE key, const std::u16string& name) override;
  bool SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) override;
  bool CloseKey(HANDLE key) override;

 private:
  using Values = std::map<std::u16string, DWORD>;

  /// The values of an open key, or null.
  Values* Find(HANDLE key);

  Scheduler& m_scheduler;
  RuleChecks& m_checks;
  std::map<std::u16string, Values> m_keys;
  std::map<HANDLE, std::u16string> m_handles;
};

}  // namespace photometer::platform
