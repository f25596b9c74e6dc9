/// A board that passes everything on to another one, makes chosen calls fail, and notes in the ledger what the library
/// does with the board: threads, commands to the optical unit, lines for files, lamp counters, results of the pumps.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <set>

#include "Ledger.h"
#include "platform/Forwarding.h"

namespace explorer {

/// Calls that can be made to fail, by their number since the start of the run.
enum class Failing : std::uint8_t { Threads, Events, Memory, Opens, PortSettings, Writes, Pins };
inline constexpr std::size_t FailingKinds = 7;

class FailingNumbers {
 public:
  /// The `nCall`-th call, from 1, counted from the start of the run.
  void Add(Failing what, std::uint64_t nCall) { m_due[static_cast<std::size_t>(what)].insert(nCall); }
  void Clear() { m_due = {}; }
  /// Counts a call. True: it fails.
  bool Falls(Failing what);

 private:
  std::array<std::set<std::uint64_t>, FailingKinds> m_due;
  std::array<std::uint64_t, FailingKinds> m_counts{};
};

class WatchedBoard final : public photometer::platform::ForwardingBoard {
 public:
  /// Both must outlive it.
  WatchedBoard(photometer::platform::Board& target, Ledger& ledger);
  ~WatchedBoard() override;
  WatchedBoard(const WatchedBoard&) = delete;
  WatchedBoard& operator=(const WatchedBoard&) = delete;

  FailingNumbers& Failures() { return m_failures; }
  /// Asked when a thread of the library ends, for the ledger: whether the halogen lamp is lit at the unit, or may be.
  void OnThreadEnd(std::function<bool()> isLampLit) { m_isLampLit = std::move(isLampLit); }
  /// Asked when a command goes out, for the ledger: whether the unit is still at an earlier one.
  void OnCommand(std::function<bool()> isUnitBusy) { m_isUnitBusy = std::move(isUnitBusy); }
  /// Threads of the library that have not ended.
  [[nodiscard]] int RunningThreads() const { return m_iRunning; }

  /// Threads whose names begin so are the host's or the world's.
  static constexpr const char* HostPrefix = "host ";

 private:
  class Kernel;
  class SerialPorts;
  class Pins;
  class Files;
  class Registry;
  class DebugOutput;
  struct Services;

  Ledger& m_ledger;
  FailingNumbers m_failures;
  std::function<bool()> m_isLampLit = [] { return true; };
  std::function<bool()> m_isUnitBusy = [] { return false; };
  std::atomic<int> m_iRunning{0};
  std::atomic<photometer::platform::HANDLE> m_hOptical{0};
  std::unique_ptr<Services> m_pServices;
};

}  // namespace explorer
