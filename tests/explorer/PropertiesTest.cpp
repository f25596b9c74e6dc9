// Each property is broken by events that the library must not make.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Properties.h"
#include "platform/virtual/VirtualBoard.h"

namespace explorer {
namespace {

using photometer::platform::VirtualBoard;

/// What one thread of the library did, by the kind of event, its name and numbers. `CallBegins`: a whole call of the
/// host that takes `a` seconds.
struct Told {
  EventKind kind;
  const char* name;
  std::int64_t a = 0;
  std::int64_t b = 0;
  std::int64_t c = 0;
};

constexpr Told Started{EventKind::Callback, "OnNotify", 7, 25};
constexpr Told Finished{EventKind::Callback, "OnNotify", 7, 17};
constexpr Told Cancelled{EventKind::Callback, "OnNotify", 7, 18};
constexpr Told Error{EventKind::Callback, "OnError", 0, -3};
constexpr Told OfCheck{EventKind::Callback, "OnError", 7, -3};
constexpr Told Unanswered{EventKind::Callback, "OnError", 0, 112};
constexpr Told Written{EventKind::ErrorRecord, "record"};
constexpr Told PumpFailed{EventKind::PumpFailed, "pump", 512};
constexpr Told PumpError{EventKind::Callback, "OnPumpError", 0, 612};
constexpr Told LampOn{EventKind::OpticalCommand, "$h1", 'h', 1};
constexpr Told LampOff{EventKind::OpticalCommand, "$h0", 'h', 0};
constexpr Told MoveTooEarly{EventKind::OpticalCommand, "$M5", 'M', 5, 1 + Early};
constexpr Told PortGone{EventKind::OpticalPort, "optical port", 0};

constexpr Told Cancel{EventKind::CallBegins, "cancel"};
constexpr Told LampSwitches{EventKind::Callback, "OnLampSwitching", 1};
constexpr Told LampSwitched{EventKind::Callback, "OnLampSwitching", 0};
constexpr Told Seconds(std::int64_t nSeconds) { return {EventKind::CallBegins, "sleep", nSeconds}; }
constexpr Told SecondsInCallback(std::int64_t nSeconds) { return {EventKind::CallBegins, "sleep", nSeconds, 1}; }

constexpr std::int32_t Back = INT32_MIN;

/// The first property that a host's call `operation`, answered by 0, breaks, when its thread does all this.
std::string Broken(const char* operation, const char* thread, const std::vector<Told>& told, bool bLampLit = true) {
  VirtualBoard board;
  Ledger ledger(board);
  const std::int64_t nCall = ledger.BeginCall(operation, false);
  ledger.NoteThread(board.GetKernel().GetCurrentThreadId(), thread);
  ledger.EndCall(nCall, operation, 0);
  for (const Told& one : told) {
    if (one.kind != EventKind::CallBegins) {
      ledger.Note(one.kind, one.name, one.a, one.b, one.c);
      continue;
    }
    const std::int64_t nOther = ledger.BeginCall(one.name, one.b != 0);
    ledger.EndCall(ledger.BeginCall("status", false), "status", 0);  // another thread's, meanwhile
    board.GetKernel().Sleep(static_cast<photometer::DWORD>(one.a) * 1000);
    ledger.EndCall(nOther, one.name, 0);
  }
  ledger.Note(EventKind::ThreadEnds, thread, bLampLit ? 1 : 0);
  const std::vector<Violation> violations = Judge({ledger, FindRuns(ledger), {}, {}, true});
  return violations.empty() ? "" : violations.front().property;
}

struct Case {
  const char* operation;
  const char* thread;
  std::vector<Told> told;
  const char* broken;
};

void ExpectBroken(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(Broken(c.operation, c.thread, c.told), c.broken)
        << c.thread << ", case " << &c - cases.data() << " of the table";
  }
}

TEST(Properties, OfTheEndsOfARun) {
  ExpectBroken({
      {"measure", "Measure", {Started, Finished}, ""},
      {"measure", "Measure", {Cancel, Started, Cancelled}, ""},
      {"measure", "Measure", {Started, Written, Error}, ""},
      {"measure", "Measure", {Started, PumpFailed}, ""},
      {"measure", "Measure", {Started}, "one end"},
      {"measure", "Measure", {Started, Finished, Finished}, "one end"},
      {"measure", "Measure", {Cancel, Started, Finished, Cancelled}, "one end"},
      {"measure", "Measure", {Cancel, Started, Cancelled, Written, Error}, "one end"},
      {"kinetics", "Kinetics", {Cancel, Started, Cancelled, Written, Error}, ""},
      {"holmium", "HolmiumOxideScan", {Cancel, Started, Cancelled}, "one end"},
      {"measure", "Measure", {Started, PumpFailed, PumpError}, ""},
      {"measure", "Measure", {Started, PumpFailed, PumpError, PumpError}, "one error"},
      {"holmium", "HolmiumOxideScan", {Started, PumpFailed}, "one end"},
      {"check", "WavelengthCheckProc", {Started, Written, Error, OfCheck}, ""},
      {"check", "WavelengthCheckProc", {Started, Written, Error}, "one end"},
      {"measure", "Measure", {Started, Cancelled}, "cancelled only when asked"},
      {"measure", "Measure", {Started, Error}, "one error record"},
      {"measure", "Measure", {Started, Written, Unanswered}, "each answer heard"},
      {"measure", "Measure", {Started, Finished, Written}, "one error record"},
      {"measure", "Measure", {LampOn, Started, Finished}, "halogen lamp off"},
      {"measure", "Measure", {LampOn, Started, Finished, LampOff}, ""},
      {"measure", "Measure", {LampOn, PortGone, Started, Finished}, ""},
      {"measure", "Measure", {MoveTooEarly, Started, Finished}, "one after another"},
      {"uv-lamp", "WarmUpProc", {Error, Written, Error}, "one error"},
      {"measure", "ScanProc", {Started, Finished}, "one thread for each start"},
      {"flush", "FlushProc", {}, "one end of a flush"},
      {"initialize", "InitProc", {{EventKind::Callback, "OnNotify", 0, 39}}, "one end of a start-up"},
      {"wavelength-test", "WaveLengthTestProc", {}, "one end of a wavelength test"},
      {"measure", "Measure", {Started, {EventKind::Callback, "OnNotify", 8, 4}, Finished}, "right request"},
  });
  EXPECT_EQ(Broken("measure", "Measure", {LampOn, Started, Finished}, false), "") << "a lamp that is off";
}

TEST(Properties, OfTheTimeToACancel) {
  ExpectBroken({
      {"measure", "Measure", {Started, Seconds(9), Cancel, Seconds(3), Cancelled}, ""},
      {"measure", "Measure", {Started, Cancel, Seconds(4), Cancelled}, "cancel heard soon"},
      {"measure", "Measure", {Started, Cancel, Seconds(9), Cancel, Cancelled}, "cancel heard soon"},
      {"measure", "Measure", {Started, Cancelled, Cancel, Seconds(9)}, ""},
      {"measure", "Measure", {Started, Cancel, Seconds(9), Finished}, ""},
      {"measure", "Measure", {Started, Cancel, Seconds(11), Finished}, "no cancel lost"},
      {"holmium", "HolmiumOxideScan", {Started, Cancel, Seconds(11), Finished}, ""},
      {"scan", "ScanProc", {Started, LampSwitches, Cancel, Seconds(90), LampSwitched, Cancelled}, ""},
      {"scan", "ScanProc", {Started, LampSwitches, LampSwitched, Cancel, Seconds(90), Cancelled}, "cancel heard soon"},
      {"kinetics", "Kinetics", {Started, Cancel, Seconds(2), SecondsInCallback(9), Seconds(1), Cancelled}, ""},
      {"kinetics", "Kinetics", {Started, Cancel, SecondsInCallback(9), Seconds(4), Cancelled}, "cancel heard soon"},
      {"kinetics", "Kinetics", {Started, Cancel, Seconds(9), PumpFailed, Seconds(1), Cancelled}, ""},
      {"kinetics", "Kinetics", {Started, Cancel, PumpFailed, Seconds(4), Cancelled}, "cancel heard soon"},
  });
}

TEST(Properties, OfResults) {
  struct {
    const char* thread;
    /// Positions or cycles. `Back`: the host gives its sink back.
    std::vector<std::int32_t> numbers;
    const char* broken;
  } const cases[] = {{"HolmiumOxideScan", {5, 6, 7}, ""},
                     {"HolmiumOxideScan", {-2, -1, 0, 1}, ""},
                     {"HolmiumOxideScan", {5, 6, 8}, "complete results"},
                     {"HolmiumOxideScan", {5, 6, Back, 9, 10}, ""},
                     {"HolmiumOxideScan", {5, 6, Back, 9, 10, 12}, "complete results"},
                     {"Kinetics", {0, 1}, ""},
                     {"Kinetics", {1, 2}, "complete results"},
                     {"Kinetics", {Back, 1, 2}, ""},
                     {"Kinetics", {0, Back, 2, 4}, "complete results"},
                     {"Kinetics", {0, 1, Back, 1}, "complete results"}};
  for (const auto& c : cases) {
    VirtualBoard board;
    Ledger ledger(board);
    ledger.NoteThread(board.GetKernel().GetCurrentThreadId(), c.thread);
    for (const std::int32_t iNumber : c.numbers) {
      if (iNumber == Back) {
        ledger.EndCall(ledger.BeginCall("set-sink", false), "set-sink", 0);
        continue;
      }
      photometer::MeasureValue value{};
      value.dwPosition = static_cast<photometer::DWORD>(iNumber);
      value.dwTag = value.dwPosition;
      ledger.NoteResult(7, {value});
    }
    ledger.Note(EventKind::Callback, "OnNotify", 7, 17);
    ledger.Note(EventKind::ThreadEnds, c.thread, 0);
    const std::vector<Violation> violations = Judge({ledger, FindRuns(ledger), {}, {}, true});
    EXPECT_EQ(violations.empty() ? "" : violations.front().property, c.broken)
        << "case " << &c - std::begin(cases) << " of the table";
  }
}

TEST(Properties, OfACommandDuringACall) {
  struct {
    const char* operation;
    bool bPortOpen;
    const char* broken;
  } const cases[] = {{"shutdown", true, ""},
                     {"initialize", true, ""},
                     {"initialize", false, "one after another"},
                     {"measure", true, "one after another"}};
  for (const auto& c : cases) {
    VirtualBoard board;
    Ledger ledger(board);
    ledger.Note(EventKind::OpticalPort, "optical port", c.bPortOpen ? 1 : 0);
    const std::int64_t nCall = ledger.BeginCall(c.operation, false);
    ledger.Note(MoveTooEarly.kind, MoveTooEarly.name, MoveTooEarly.a, MoveTooEarly.b, MoveTooEarly.c);
    ledger.EndCall(nCall, c.operation, -1);
    const std::vector<Violation> violations = Judge({ledger, FindRuns(ledger), {}, {}, true});
    EXPECT_EQ(violations.empty() ? "" : violations.front().property, c.broken) << c.operation;
  }
}

TEST(Properties, OfShutdown) {
  VirtualBoard board;
  Ledger ledger(board);
  const std::int64_t nCall = ledger.BeginCall("shutdown", false);
  ledger.Note(EventKind::OpticalCommand, "$h0", 'h', 0);
  ledger.Note(EventKind::OpticalCommand, "$d1", 'd', 1);
  ledger.Note(EventKind::OpticalPort, "optical port", 0);
  ledger.EndCall(nCall, "shutdown", 0);
  const std::vector<Violation> violations = Judge({ledger, FindRuns(ledger), {}, {"event 3"}, false});
  ASSERT_EQ(violations.size(), 3U);
  EXPECT_EQ(violations[0].property, "all off after Shutdown");
  EXPECT_EQ(violations[1].property, "unit dark");
  EXPECT_EQ(violations[2].property, "nothing left");
}

}  // namespace
}  // namespace explorer
