#include "PumpState.h"

#include <CLI/CLI.hpp>

namespace host {

namespace {

using photometer::IPhotometer;

// The device gives a ZQ-410 its parameters in one second, asks for its version in the next; a ZQ-420 answers at once.
constexpr DWORD TellingTime = 5;
/// The version's text while the pump has been asked for it.
constexpr const char* VersionAsked = "V";

bool HasZQ410Told(IPhotometer& device) {
  const photometer::PumpInfo pump = device.GetPumpInfo();
  return pump.m_bPumpParamsAcknowledged != 0 && !pump.m_strPumpVersion.empty() && pump.m_strPumpVersion != VersionAsked;
}

}  // namespace

void RequirePump(const InstrumentOptions& instrument, bool bJoins) {
  if (instrument.PumpText() != nullptr) {
    return;
  }
  throw CLI::ValidationError("--pump", bJoins ? "was missing at the start; end this, and give it to shell or run: "
                                                "--pump zq410 or --pump zq420"
                                              : "is missing; say which one is attached: zq410 or zq420");
}

std::optional<BoardPort> PumpPort(const InstrumentOptions& instrument) {
  if (instrument.PumpText() == nullptr) {
    return std::nullopt;
  }
  return instrument.HasZQ420() ? SipperPort : ExternalPort;
}

ExitCode LearnPump(const InstrumentOptions& instrument, Session& session, Progress& progress) {
  Outcome outcome = Outcome::Finished;
  if (instrument.HasZQ420()) {
    session.Device().RequestSipperData();
    outcome = session.WaitUntil([](IPhotometer& device) { return !device.GetPumpInfo().m_strSipperData1.empty(); },
                                TellingTime);
    session.Device().RequestSipperRunTime();
    outcome =
        outcome == Outcome::Finished
            ? session.WaitUntil([](IPhotometer& device) { return !device.GetPumpInfo().m_strSipperRunTime.empty(); },
                                TellingTime)
            : outcome;
  } else {
    outcome = session.WaitUntil(HasZQ410Told, TellingTime);
  }
  if (outcome == Outcome::NoEnd) {
    progress.Say("the pump has not told everything of itself");
  }
  return outcome == Outcome::Cancelled ? ExitCode::Cancelled : ExitCode::Success;
}

}  // namespace host
