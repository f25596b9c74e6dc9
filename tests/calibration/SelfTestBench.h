/// What the tests of the self-tests share: the device on a simulated instrument, and what a run left behind.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "logging/LogFiles.h"
#include "platform/Platform.h"
#include "support/World.h"

namespace photometer::tests {

using simulator::FaultKind;
using InstrumentFaults = simulator::InstrumentFaults;
using UnitSettings = simulator::OpticalUnitSettings;
using Texts = std::vector<std::string>;

/// A callback in short: "25/0" is `OnNotify(0, 25, 0)`, "9:25/0" the same for request 9, "[0 1 1 ...]" a status of the
/// system check; others as they are.
inline std::string InShort(const std::string& call) {
  static const std::regex notify(R"(OnNotify\((\d+), (\d+), (\d+)\))");
  static const std::regex status(R"(OnSystemCheckStatus\((.*)\))");
  const std::string text = std::regex_replace(std::regex_replace(call, notify, "$1:$2/$3"), status, "[$1]");
  return text.starts_with("0:") ? text.substr(2) : text;
}

/// The callback of a short text.
inline std::string InFull(const std::string& text) {
  static const std::regex notify(R"((?:(\d+):)?(\d+)/(\d+))");
  std::smatch match;
  if (!std::regex_match(text, match, notify)) {
    return text;
  }
  return "OnNotify(" + (match[1].matched ? match.str(1) : "0") + ", " + match.str(2) + ", " + match.str(3) + ")";
}

/// With single spaces between.
inline std::string Joined(const Texts& texts) {
  std::string joined;
  for (const std::string& text : texts) {
    joined += (joined.empty() ? "" : " ") + text;
  }
  return joined;
}

/// Callbacks in short, without those that match.
inline std::string CallsWithout(const char* unwanted, const World& world) {
  const std::regex pattern(unwanted);
  Texts calls;
  for (const std::string& call : world.sink.Calls()) {
    if (const std::string text = InShort(call); !std::regex_match(text, pattern)) {
      calls.push_back(text);
    }
  }
  return Joined(calls);
}

/// How often the debug output contains `text`.
inline std::size_t DebugLines(const World& world, const std::u16string& text) {
  const std::u16string debug = world.board.DebugText();
  std::size_t nLines = 0;
  for (std::size_t n = debug.find(text); n != std::u16string::npos; n = debug.find(text, n + text.size())) {
    ++nLines;
  }
  return nLines;
}

/// The records of the error list, as "[InitProc] SetFilter returned 4".
inline Texts ErrorRecords(World& world) {
  const std::string list = world.board.GetFiles().Read(ErrorListPath, 100'000).value_or("");
  Texts records;
  for (std::size_t n = 0, nEnd = 0; (nEnd = list.find('\n', n)) != std::string::npos; n = nEnd + 1) {
    records.push_back(list.substr(list.find('[', n), nEnd - list.find('[', n)));
  }
  return records;
}

/// A device and its world. At its end the instrument must be switched off, and nothing be left.
class Bench {
 public:
  explicit Bench(const UnitSettings& unit = {}, const platform::VirtualBoardOptions& board = {})
      : world({board, unit, nullptr, true}), device(world) {}
  ~Bench() {
    world.ExpectSwitchedOff();
    device.Close();
    world.ExpectClean();
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  /// The start-up, with the parameters of the simulated instrument's kind. True: initialised.
  bool StartUp(const std::vector<double>& zeros) {
    PhotometerParameters params = DefaultParameters();
    params.bUV = world.unit.Settings().bUV ? TRUE : FALSE;
    CalibrationData calibration = DefaultCalibration();
    calibration.ZeroWavelengths = zeros;
    return device->Initialize(&params, &calibration) == S_OK && device.WaitUntilNotBusy() && IsInitialized();
  }
  [[nodiscard]] bool IsInitialized() const { return device->GetStatus().bInitialized != FALSE; }

  /// `Calls`, `Ends`, `Count` and `Commands` begin anew.
  void Forget() { world.transcript.Clear(); }
  /// Callbacks in short, without those about cuvette and deuterium lamp.
  [[nodiscard]] std::string Calls() const {
    return CallsWithout("QueryCuvetteWait.*|OnCuvetteChanged.*|OnLampSwitching.*|OnWarmUpCountdown.*", world);
  }
  /// Callbacks that report an end: finished, cancelled, or an error.
  [[nodiscard]] std::string Ends() const { return CallsWithout("(?!.*:1[78]/100|OnError).*", world); }
  /// How often this was called; in short.
  [[nodiscard]] std::size_t Count(const std::string& call) const { return world.sink.Count(InFull(call)); }
  /// How often a command was sent.
  [[nodiscard]] std::ptrdiff_t Commands(const std::string& command) const {
    return std::ranges::count(world.Written(), command);
  }
  /// Runs inside each callback that begins so; in short.
  void On(const std::string& call, const std::function<void()>& action) { world.sink.On(InFull(call), action); }

  void Insert(int iSize) { world.holder.Insert(iSize, world.board.Now()); }
  /// Inserts a cuvette now, and lets the reader notice it.
  void InsertAndWait() {
    Insert(10);
    platform::Sleep(1000);
  }
  /// A cuvette is taken out two seconds after this callback.
  void RemoveAfter(const std::string& call) {
    On(call, [this] { world.holder.Remove(world.board.Now() + 2 * 1'000'000); });
  }
  void AddFault(const simulator::Fault& fault) { world.unit.WireFaults().Add(fault); }

  /// The monochromator's offset (steps) for each spectrum from now on, set before the first scan of its two; the last
  /// one stays.
  void SetOffsetsOfSpectra(std::vector<int> offsets) {
    std::size_t nScans = 0;
    world.ports.beforeWrite = [this, offsets = std::move(offsets), nScans](std::string_view bytes) mutable {
      if (bytes.starts_with("$s") && nScans / 2 < offsets.size()) {
        InstrumentFaults faults = world.unit.Settings().faults;
        faults.slippedSteps = offsets[nScans / 2] - world.unit.Settings().positionOffset;
        world.unit.SetFaults(faults);
        ++nScans;
      }
    };
  }

  World world;
  Device device;
};

/// High gain, normal gain, last filter.
inline const std::vector<double> THREE_WAVELENGTHS{365.0, 525.0, 885.0};

/// A bench whose device is initialised.
class StartedBench : public Bench {
 public:
  explicit StartedBench(const UnitSettings& unit = {}, const platform::VirtualBoardOptions& board = {})
      : Bench(unit, board) {
    EXPECT_TRUE(StartUp(THREE_WAVELENGTHS));
  }
};

}  // namespace photometer::tests
