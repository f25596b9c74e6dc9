#include "LiveCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace host {

void LiveCommand::AddHappenings(CLI::App& app) {
  app.add_option("--happens", m_planned,
                 fmt::format("What happens to a simulated instrument, so long after its start-up: {}", HappeningNames))
      ->type_name("TIME:WHAT");
}

void LiveCommand::CheckHappenings() {
  if (!m_planned.empty() && !m_board.bSimulate) {
    throw CLI::ValidationError("--happens", "is for a simulated instrument; add --simulate");
  }
  const auto pump = static_cast<simulator::PumpKind>(m_instrument.Parameters().dwOperatingMode);
  for (const std::string& text : m_planned) {
    if (const std::string complaint = m_happenings.Plan(text, pump); !complaint.empty()) {
      throw CLI::ValidationError("--happens", complaint);
    }
  }
}

Outcome LiveCommand::Follow(Bench& bench, const EventHandler& handler, const std::function<bool()>& goesOn,
                            std::optional<DWORD> dwSeconds) {
  SimulatedInstrument* pSimulated = bench.board.Simulated();
  if (pSimulated == nullptr) {
    return bench.session.Listen(handler, goesOn, dwSeconds);
  }
  m_happenings.Begin(*pSimulated, m_board.sample);
  return bench.session.Listen(
      handler,
      [&] {
        m_happenings.Step(*pSimulated);
        return goesOn();
      },
      dwSeconds);
}

}  // namespace host
