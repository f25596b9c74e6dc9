/// What a person types, or a program pipes in, without waiting for it: the waiting loops look at it in between.
#pragma once

#include <optional>
#include <string>

namespace host {

class Input {
 public:
  virtual ~Input() = default;
  /// What has come since the last call, empty when nothing has; nothing: the input has ended. Waits at most so long, in
  /// ms of real time, for something to come; no other thread of a simulated instrument runs meanwhile.
  virtual std::optional<std::string> Read(int iMilliseconds) = 0;
};

/// The standard input of the process.
class StandardInput final : public Input {
 public:
  std::optional<std::string> Read(int iMilliseconds) override;
};

}  // namespace host
