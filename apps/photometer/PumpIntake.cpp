#include "PumpIntake.h"

#include <fmt/format.h>

namespace host {

namespace {

// A ZQ-410 says that it is there each second, a ZQ-420 answers at once.
constexpr DWORD ConnectionLimit = 10;  // s
/// No flow cuvette has this size, mm.
constexpr LONG SizeWithoutFlow = 14;

Outcome WaitForPump(Session& session, bool bAsk) {
  const auto isDetected = [](photometer::IPhotometer& device) { return device.GetStatus().bSipperDetected != 0; };
  for (DWORD dwSecond = 0; dwSecond < ConnectionLimit; ++dwSecond) {
    if (bAsk && !isDetected(session.Device())) {
      session.Device().SendSipperPing();
    }
    if (const Outcome outcome = session.WaitUntil(isDetected, 1); outcome != Outcome::NoEnd) {
      return outcome;
    }
  }
  return Outcome::NoEnd;
}

}  // namespace

bool HasFlowCuvette(Session& session, Progress& progress) {
  const LONG iState = session.Device().GetCuvetteState();
  if (iState > 0 && iState != SizeWithoutFlow) {
    return true;
  }
  progress.Say(iState <= 0 ? "no flow cuvette is inserted for the pump to fill (--wait-for-cuvette SECONDS waits for "
                             "one after the start-up); nothing was measured"
                           : fmt::format("a cuvette of {} mm is no flow cuvette, the pump could not fill it; nothing "
                                         "was measured",
                                         iState));
  return false;
}

ExitCode ConnectPump(const InstrumentOptions& instrument, Session& session, Progress& progress) {
  const bool bZQ420 = instrument.HasZQ420();
  switch (WaitForPump(session, bZQ420)) {
    case Outcome::Finished:
      progress.Say(fmt::format("pump {} is connected: it pumps for {} s, the sample settles for {} s",
                               instrument.PumpText(), instrument.Parameters().PumpTime,
                               instrument.Parameters().DelayTime));
      return ExitCode::Success;
    case Outcome::Cancelled:
      progress.Say("cancelled before the pump had answered; the run was not started");
      return ExitCode::Cancelled;
    default:
      break;
  }
  progress.Say(fmt::format(
      "the pump {} has not answered on {} within {} s: look at its cable and power, and whether "
      "--pump and the board file's {} name the right ones; the run was not started",
      instrument.PumpText(), bZQ420 ? "its port" : "the external port", ConnectionLimit, bZQ420 ? "COM6" : "COM1"));
  return ExitCode::NoPump;
}

}  // namespace host
