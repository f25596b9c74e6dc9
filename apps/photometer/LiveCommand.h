/// What commands share that write lines while things happen, and not results at their end. They go on after a start-up
/// that the instrument did not pass: it is then that a technician wants to see.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Happenings.h"
#include "RunCommand.h"

namespace host {

class LiveCommand : public RunCommand {
 protected:
  explicit LiveCommand(std::string kind) : RunCommand(std::move(kind), Holder::AsItIs) {}

  /// The option for what happens to a simulated instrument, and its check.
  void AddHappenings(CLI::App& app);
  void CheckHappenings();
  /// As `Session::Listen`, with what was planned to happen.
  Outcome Follow(Bench& bench, const EventHandler& handler, const std::function<bool()>& goesOn,
                 std::optional<DWORD> dwSeconds);

 private:
  [[nodiscard]] std::string Results() const final { return {}; }
  [[nodiscard]] bool HasResults() const final { return false; }
  [[nodiscard]] bool IsLive() const final { return true; }
  [[nodiscard]] bool GoesOnAfterFailedStartUp() const final { return true; }

  std::vector<std::string> m_planned;
  Happenings m_happenings;
};

}  // namespace host
