/// A board that passes everything on to another one and notes what matters in a transcript: blocks written to and read
/// from ports, appended log lines, debug output, pin changes, registry writes. Works on both boards.
#pragma once

#include <memory>

#include "platform/Board.h"
#include "platform/Transcript.h"

namespace photometer::platform {

class TracingBoard final : public Board {
 public:
  /// Both must outlive it.
  TracingBoard(Board& board, Transcript& transcript);
  ~TracingBoard() override;

  Kernel& GetKernel() override;
  SerialPorts& GetSerialPorts() override;
  Pins& GetPins() override;
  Files& GetFiles() override;
  Registry& GetRegistry() override;
  DebugOutput& GetDebugOutput() override;

 private:
  struct Services;
  std::unique_ptr<Services> m_pServices;
};

}  // namespace photometer::platform
