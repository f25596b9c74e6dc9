/// The virtual board's debug output: kept in memory.
#pragma once

#include <string>

#include "platform/Board.h"
#include "platform/virtual/Scheduler.h"

namespace photometer::platform {

class VirtualDebugOutput final : public DebugOutput {
 public:
  explicit VirtualDebugOutput(Scheduler& scheduler) : m_scheduler(scheduler) {}

  void Write(std::u16string_view text) override;
  [[nodiscard]] const std::u16string& Text() const { return m_strText; }

 private:
  Scheduler& m_scheduler;
  std::u16string m_strText;
};

}  // namespace photometer::platform
