/// The virtual board: one operating-system thread, every library thread a fiber, virtual time.
///
/// Each call into the layer that another thread could notice is a scheduling point (memory, the own thread's number,
/// the program's path and a trace's clock are not). A seed decides every choice; the same seed replays the same run to
/// the byte. Time moves only when nobody can run, and then to the next deadline. The thread that made the board is its
/// thread "main". Everything that the board's rules forbid is noted as a report: a deadlock, a cycle in the order of
/// locks, a wait, sleep or serial call begun with a lock held (the locks named in `locksForHostCode` apart), a lock
/// left by another thread or owned at a thread's end, use of a closed handle, a thread that spins, a handle or thread
/// left.
///
/// Code that runs on it must not use function-local statics whose initialiser calls the layer, `thread_local`, or
/// standard locks held across a layer call.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Board.h"
#include "platform/virtual/Decision.h"
#include "simulator/SerialDevice.h"

namespace photometer::platform {

class SchedulingPolicy;

enum class Policy {
  /// First come, first served: readable transcripts. Blocks are delivered as a 16-byte FIFO would.
  FirstCome,
  /// The next thread and the size of each delivered block are drawn from the random seed.
  Random,
  /// Random priorities and two change points over 10,000 steps; blocks as with `Random`. See PriorityPolicy.h.
  Priority
};

struct VirtualBoardOptions {
  std::uint64_t seed = 1;
  Policy policy = Policy::FirstCome;
  /// Used in place of `policy` where it is set: a `PriorityPolicy` with other measures, an `ExhaustivePolicy`, a
  /// `ReplayPolicy`.
  std::shared_ptr<SchedulingPolicy> pPolicy{};
  /// Whether the size of each block is drawn from the random seed, and some deadlines are late. By default under every
  /// `policy` but `FirstCome`. A `ReplayPolicy` has them in its list.
  std::optional<bool> varyTimes{};
  /// Whether threads are held up now and then for some milliseconds, as by other work of the processor: otherwise no
  /// time passes between two calls of a thread, and nothing can arrive.
  bool bHoldUps = false;
  /// Keeps what `Decisions` tells.
  bool bRecordDecisions = false;
  /// Tick counter at the start; near 2^32 it soon wraps.
  DWORD startTick = 1000;
  /// Calendar time at the start (day of week is not used).
  SYSTEMTIME startTime = {2026, 11, 2, 17, 22, 49, 44, 0};
  /// 0: as fast as it goes; 1: real time; N: N times faster.
  double pace = 0;
  /// Under these locks the host's code runs: waiting with them held is not reported.
  std::vector<std::string> locksForHostCode = {"m_csSink"};
};

class VirtualBoard final : public Board {
 public:
  explicit VirtualBoard(const VirtualBoardOptions& options = {});
  /// All threads but "main" must have ended.
  ~VirtualBoard() override;

  Kernel& GetKernel() override;
  SerialPorts& GetSerialPorts() override;
  Pins& GetPins() override;
  Files& GetFiles() override;
  Registry& GetRegistry() override;
  DebugOutput& GetDebugOutput() override;

  // ---- the world around it ----

  /// Attaches a device to a port ("COM2:"), which exists from then on. `bAtOnce`: a read ends with the first bytes.
  void PlugPort(const std::u16string& name, simulator::SerialDevice& device, bool bAtOnce = false);
  /// The port vanishes: reads and writes fail, opening fails. `PlugPort` brings it back.
  void UnplugPort(const std::u16string& name);
  /// Bytes from the device that the port's full input queue (1 MiB) has lost, the oldest first.
  [[nodiscard]] std::uint64_t DroppedBytes(const std::u16string& name) const;
  /// Attaches the switches. Without them the pins cannot be opened.
  void PlugPins(simulator::PinSource* pSource);
  /// The level that an output pin was set to last; nothing: never.
  [[nodiscard]] std::optional<DWORD> PinOutput(DWORD dwPort, DWORD dwPin) const;
  /// Makes a folder (with its parents), takes it away with all below it, or makes writing below it fail.
  void MakeFolder(const std::u16string& path);
  void RemoveFolder(const std::u16string& path);
  void SetDiskFull(const std::u16string& path, bool bFull);
  /// Makes the key and sets the value.
  void SetRegistryValue(const std::u16string& key, const std::u16string& name, DWORD dwValue);
  /// What the debug output has received.
  [[nodiscard]] std::u16string DebugText() const;

  // ---- time and scheduling ----

  /// Virtual microseconds since the board was made.
  [[nodiscard]] std::uint64_t Now() const;
  /// Scheduling points so far.
  [[nodiscard]] std::uint64_t Points() const;
  /// Thread switches so far.
  [[nodiscard]] std::uint64_t Switches() const;
  /// When the count of scheduling points reaches `nPoint`, a new thread runs `body` next.
  void RunAtPoint(std::uint64_t nPoint, const std::string& name, std::function<void()> body);

  /// Marks the part of the run that an `ExhaustivePolicy` goes through in every order, and to which the change points
  /// of a `PriorityPolicy` can be confined. Other policies take no notice.
  void BeginWindow();
  void EndWindow();

  // ---- verdict ----

  /// What broke the rules so far, a text each, first line first: what, which thread, what it waits for and holds.
  [[nodiscard]] std::vector<std::string> Reports() const;
  /// Handles and threads (not "main") that are alive, with their names.
  [[nodiscard]] std::vector<std::string> Leftovers() const;
  /// Hash of every scheduling decision and wait result.
  [[nodiscard]] std::uint64_t Hash() const;
  /// The choices so far that first come, first served would not have made, under `bRecordDecisions`; a `ReplayPolicy`
  /// repeats the run by them.
  [[nodiscard]] DecisionList Decisions() const;
  /// What a deadlock does: by default it prints the report and ends the process with `_Exit(3)`, since no thread can
  /// go on. A test sets a handler, called once, after which every wait fails at once.
  void OnDeadlock(std::function<void(const std::string& report)> handler);

 private:
  struct Parts;
  std::unique_ptr<Parts> m_pParts;
};

}  // namespace photometer::platform
