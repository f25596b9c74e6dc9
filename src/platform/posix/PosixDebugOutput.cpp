#include "platform/posix/PosixDebugOutput.h"

#include <fcntl.h>
#include <syslog.h>

#include <cstdio>

#include "platform/Platform.h"

namespace photometer::platform {

namespace {

std::string WithoutLineEnd(std::string text) {
  text.resize(text.find_last_not_of("\r\n") + 1);
  return text;
}

}  // namespace

PosixDebugOutput::PosixDebugOutput(DebugTarget target, const std::string& path) : m_target(target) {
  if (target == DebugTarget::File) {
    m_file = HostFile::Open(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK);
  }
}

bool PosixDebugOutput::IsReady() const { return m_target != DebugTarget::File || m_file.IsOpen(); }

void PosixDebugOutput::Write(std::u16string_view text) {
  // What cannot be written is lost; nobody could be told.
  switch (m_target) {
    case DebugTarget::Off:
      break;
    case DebugTarget::StandardError: {
      const std::string bytes = ToUtf8(text);
      static_cast<void>(std::fwrite(bytes.data(), 1, bytes.size(), stderr));
      break;
    }
    case DebugTarget::File:
      static_cast<void>(m_file.WriteOnce(ToUtf8(text)));
      break;
    case DebugTarget::Syslog:
      ::syslog(LOG_USER | LOG_DEBUG, "%s", WithoutLineEnd(ToUtf8(text)).c_str());
      break;
  }
}

}  // namespace photometer::platform
