/// The debug output: nowhere, standard error, a file, or the system log.
///
/// Text goes out as UTF-8, one write a call, so that texts of different threads do not mix. In the system log each call
/// is a message of its own, without its line end. All operations may be called from all threads.
#pragma once

#include <string>

#include "platform/Board.h"
#include "platform/posix/BoardFile.h"
#include "platform/posix/HostFile.h"

namespace photometer::platform {

class PosixDebugOutput final : public DebugOutput {
 public:
  /// `path`: with `DebugTarget::File`, the file that is appended to.
  PosixDebugOutput(DebugTarget target, const std::string& path);

  /// False: the file could not be opened, and everything written is lost.
  [[nodiscard]] bool IsReady() const;
  void Write(std::u16string_view text) override;

 private:
  DebugTarget m_target;
  HostFile m_file;
};

}  // namespace photometer::platform
