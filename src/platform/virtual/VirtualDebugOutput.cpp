#include "platform/virtual/VirtualDebugOutput.h"

#include "platform/Sanitizers.h"

namespace photometer::platform {

void VirtualDebugOutput::Write(std::u16string_view text) {
  const std::u16string copy(text);
  const UnobservedScope scope;
  m_scheduler.Point("NKDbgPrintfW");
  m_strText += copy;
}

}  // namespace photometer::platform
