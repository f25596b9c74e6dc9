#include "UnitChecks.h"

#include <algorithm>
#include <array>

#include "RunChecks.h"

namespace explorer {

namespace {

// ---- commands ----

/// These may be written at any time: switching off, and what the host sends itself.
constexpr std::string_view AtAnyTime = "rdhf vq";

/// After so much silence a command is given up, and what the unit is still at may overlap with the next, µs.
constexpr std::uint64_t GivenUpAfter = 60'000'000;

bool IsPortOpen(const Ledger& ledger, std::size_t nBefore) {
  for (std::size_t i = nBefore; i-- > 0;) {
    if (ledger.Events()[i].kind == EventKind::OpticalPort) {
      return ledger.Events()[i].a != 0;
    }
  }
  return false;
}

/// The call switches off what is on: a start does when an earlier one has left the device up.
bool SwitchesOff(const Evidence& evidence, const HostCall& call) {
  return call.name == "shutdown" || call.name == "release" ||
         (call.name == "initialize" && IsPortOpen(evidence.ledger, call.nBegin));
}

/// The host brings the device down: a command that was about to be written meets the switching off, which is therefore
/// written once more.
bool InTurn(const Evidence& evidence, std::size_t nEvent) {
  return std::ranges::any_of(evidence.runs.calls, [&evidence, nEvent](const HostCall& call) {
    return call.nBegin < nEvent && nEvent < call.nEnd && SwitchesOff(evidence, call);
  });
}

Finding OneAfterAnother(const Evidence& evidence) {
  std::uint64_t nBefore = 0;
  const auto& events = evidence.ledger.Events();
  for (std::size_t i = 0; i < events.size(); ++i) {
    const Event& event = events[i];
    if (event.kind != EventKind::OpticalCommand || InTurn(evidence, i)) {
      continue;
    }
    const bool bEarly = (event.c & Early) != 0;
    if (bEarly && event.nTime - nBefore >= GivenUpAfter) {
      return std::nullopt;
    }
    nBefore = event.nTime;
    if (evidence.bLineSound && bEarly && AtAnyTime.find(static_cast<char>(event.a)) == std::string_view::npos) {
      return event.name + " was sent at " + std::to_string(event.nTime / 1000) +
             " ms, while the unit was at an earlier command";
    }
  }
  return std::nullopt;
}

// ---- lamps ----

/// The last argument that a command was sent with before a place in the ledger; 0 when the port is not open there, and
/// nobody can be told anything.
std::int64_t LastArgument(const Ledger& ledger, char letter, std::size_t nBefore) {
  for (std::size_t i = nBefore; i-- > 0;) {
    const Event& event = ledger.Events()[i];
    if (event.kind == EventKind::OpticalPort && event.a == 0) {
      return 0;
    }
    if (event.kind == EventKind::OpticalCommand && event.a == letter) {
      return event.b;
    }
  }
  return 0;
}

/// A place in the ledger before which the port was still open.
std::size_t LastOpen(const Ledger& ledger, std::size_t nFrom, std::size_t nTo) {
  const auto& events = ledger.Events();
  const auto first = events.begin() + static_cast<std::ptrdiff_t>(nFrom);
  const auto last = events.begin() + static_cast<std::ptrdiff_t>(nTo);
  const auto closed = std::find_if(
      first, last, [](const Event& event) { return event.kind == EventKind::OpticalPort && event.a == 0; });
  return static_cast<std::size_t>(closed - events.begin());
}

/// Commands that were sent while the port was open.
bool WasTold(const Ledger& ledger, std::size_t nFrom, std::size_t nTo) {
  const auto first = ledger.Events().begin() + static_cast<std::ptrdiff_t>(nFrom);
  const auto last = ledger.Events().begin() + static_cast<std::ptrdiff_t>(nTo);
  return std::any_of(first, last, [](const Event& event) { return event.kind == EventKind::OpticalCommand; });
}

Finding HalogenOffAfterEnd(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    const bool bProcedure = IsMeasurementOrTest(run) || run.name == "InitProc" || run.name == "WaveLengthTestProc";
    if (!bProcedure || run.nEnd == ProcedureRun::npos || run.bDisturbed) {
      continue;
    }
    // The next procedure may have begun before this one's thread has quite ended.
    const bool bNext = std::ranges::any_of(evidence.runs.runs, [&run](const ProcedureRun& other) {
      return &other != &run && IsMeasurementOrTest(other) && other.nBegin > run.nBegin && other.nBegin < run.nEnd;
    });
    const bool bLit = evidence.ledger.Events()[run.nEnd].a != 0;
    if (!bNext && bLit && LastArgument(evidence.ledger, 'h', run.nEnd) > 0) {
      return run.name + " ended, and the last that the unit was told is halogen lamp on";
    }
  }
  return std::nullopt;
}

Finding AllOffAfterShutdown(const Evidence& evidence) {
  for (const HostCall& call : evidence.runs.calls) {
    const bool bDown = (call.name == "shutdown" || call.name == "release") && !call.bInCallback;
    if (!bDown || call.nEnd == ProcedureRun::npos || !WasTold(evidence.ledger, call.nBegin, call.nEnd)) {
      continue;
    }
    const std::size_t nOpen = LastOpen(evidence.ledger, call.nBegin, call.nEnd);
    for (const char letter : {'r', 'd', 'h', 'f'}) {
      if (const std::int64_t nArgument = LastArgument(evidence.ledger, letter, nOpen); nArgument > 0) {
        return call.name + " returned, and the last that the unit was told is $" + std::string(1, letter) +
               std::to_string(nArgument);
      }
    }
  }
  return std::nullopt;
}

Finding UnitDark(const Evidence& evidence) {
  return evidence.bUnitDark ? std::nullopt : Finding("a lamp or the fan is on after the last Shutdown");
}

constexpr std::array<Property, 4> Table{{
    {"one after another", "with the line in order, a command is sent when the one before it has been answered",
     OneAfterAnother},
    {"halogen lamp off", "after each procedure the halogen lamp is off, or was told so", HalogenOffAfterEnd},
    {"all off after Shutdown", "after Shutdown mirror, lamps and fan were told to be off", AllOffAfterShutdown},
    {"unit dark", "at the very end the unit's lamps and fan are off", UnitDark},
}};

}  // namespace

std::span<const Property> UnitProperties() { return Table; }

}  // namespace explorer
