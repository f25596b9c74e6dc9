/// The board of real ports: what a board file says, put together.
///
/// Making one sets it up: the folders `\NANDFlash` and that of the program, and the registry file, are made where they
/// are missing. The root folder, the pins' folder and the folders of the registry and debug files must be there.
/// Devices of ports need not: a port without its device fails to open.
#pragma once

#include <memory>
#include <string>

#include "platform/Board.h"
#include "platform/posix/BoardFile.h"

namespace photometer::platform {

class PosixBoard final : public Board {
 public:
  explicit PosixBoard(const BoardFile& file);
  ~PosixBoard() override;

  /// Why it must not be used: file, line, key, and what to do. Empty: it is ready.
  [[nodiscard]] const std::string& Problem() const;

  Kernel& GetKernel() override;
  SerialPorts& GetSerialPorts() override;
  Pins& GetPins() override;
  Files& GetFiles() override;
  Registry& GetRegistry() override;
  DebugOutput& GetDebugOutput() override;

 private:
  struct Services;
  std::unique_ptr<Services> m_pServices;
  std::string m_strProblem;
};

}  // namespace photometer::platform
