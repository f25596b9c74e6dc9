/// All schedules with at most two pre-emptions inside a window: for small scenarios, and then without a gap.
///
/// The scenario is run again and again, each time on a board of its own with the same options, until no schedule is
/// left:
///
///     auto pPolicy = std::make_shared<ExhaustivePolicy>();
///     do {
///       VirtualBoardOptions options;
///       options.pPolicy = pPolicy;
///       VirtualBoard board(options);
///       ...; board.BeginWindow(); ...; board.EndWindow(); ...
///     } while (pPolicy->NextSchedule());
///
/// The window is marked by the scenario, with `VirtualBoard::BeginWindow` and `EndWindow`, or by the numbers of its
/// scheduling points (`nFirstPoint`). It ends by itself after `nMostPoints`. Outside of it, it is first come, first
/// served. In it, every thread that is ready may run in the place of the one that calls the layer (a pre-emption),
/// every one may run next when it waits, and every one that waits may get a lock or event. The last two cost no
/// pre-emption, and where many threads are ready at many waits they are most of the schedules; `nMostDetours` bounds
/// how many of them may differ from first come.
///
/// With p points in the window at which m others are ready, two pre-emptions alone give about (p m)^2 / 2 schedules: a
/// hundred points and one other 5,000, two others 20,000.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/virtual/FirstComePolicy.h"

namespace photometer::platform {

struct ExhaustiveOptions {
  unsigned nMostPreemptions = 2;
  /// Choices at waits and of waiters that differ from first come.
  unsigned nMostDetours = UINT32_MAX;
  std::uint64_t nMostPoints = 128;
  /// The window begins at this scheduling point of the board (from 1); 0: where the scenario says.
  std::uint64_t nFirstPoint = 0;
};

class ExhaustivePolicy final : public SchedulingPolicy {
 public:
  explicit ExhaustivePolicy(const ExhaustiveOptions& options = {}) : m_options(options) {}

  /// After a run: whether another schedule is left, which the next run then follows. False as well when the scenario
  /// does not repeat itself.
  bool NextSchedule();
  /// Schedules run so far.
  [[nodiscard]] std::uint64_t Schedules() const { return m_nSchedules; }
  /// The scenario offered other choices at the same place than in an earlier run: what it does depends on more than the
  /// schedule, and nothing was proved.
  [[nodiscard]] bool Diverged() const { return m_bDiverged; }

  void Started(const VirtualThread& thread) override;
  [[nodiscard]] bool SeesEveryPoint() const override { return true; }
  std::size_t AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) override;
  void BeginWindow() override;
  void EndWindow() override { m_bInWindow = false; }

 private:
  /// A choice in the window: option 0 is first come's.
  struct Choice {
    std::size_t nOptions;
    std::size_t nChosen;
    bool bPreemption;
  };

  void CountPoint();
  std::size_t Choose(std::size_t nOptions, bool bPreemption);
  [[nodiscard]] bool MayTakeMore(const Choice& choice) const;

  ExhaustiveOptions m_options;
  FirstComePolicy m_firstCome;
  /// The schedule of this run as far as it is laid down, and beyond as it was.
  std::vector<Choice> m_choices;
  std::size_t m_nMade = 0;
  unsigned m_nPreemptions = 0;
  unsigned m_nDetours = 0;
  std::uint64_t m_nPoint = 0;
  std::uint64_t m_nPointsInWindow = 0;
  bool m_bInWindow = false;
  bool m_bWindowBegan = false;
  bool m_bDiverged = false;
  std::uint64_t m_nSchedules = 0;
};

}  // namespace photometer::platform
