/// The device is brought down at any point of what it does, and everything is off afterwards.
#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "device/Bench.h"
#include "device/Lifecycle.h"
#include "platform/Platform.h"
#include "support/Density.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

using simulator::FaultKind;

/// What runs when the device is brought down.
struct Scenario {
  const char* what;
  std::optional<simulator::Fault> fault;
  /// Wavelengths of a measurement that follows the start-up; none: the start-up itself.
  std::vector<double> wavelengths;
  /// Runs to bring it down in, at points spread evenly.
  std::uint64_t nRuns;
};

enum class End { Shutdown, Release };

/// One run of a scenario, brought down at a scheduling point counted from the start of what is to be disturbed.
class DisturbedRun {
 public:
  DisturbedRun(const Scenario& scenario, Policy policy, std::uint64_t nSeed)
      : m_Scenario(scenario), m_Bench(Options(policy, nSeed)) {
    EXPECT_TRUE(scenario.wavelengths.empty() || m_Bench.device.StartUp());
    if (scenario.fault) {
      m_Bench.world.unit.WireFaults().Add(*scenario.fault);
    }
  }

  /// Undisturbed: the number of scheduling points.
  std::uint64_t CountPoints() {
    const std::uint64_t nFirst = m_Bench.world.board.Points();
    Go();
    EXPECT_TRUE(m_Bench.device.WaitUntilNotBusy());
    return m_Bench.world.board.Points() - nFirst;
  }

  void Disturb(std::uint64_t nPoint, End end) {
    // The first point is passed before `Initialize` has its turn: what happens there comes before it.
    VirtualBoard& board = m_Bench.world.board;
    board.RunAtPoint(board.Points() + 2 + nPoint, "host", [this, end] { BringDown(end); });
    Go();
    m_bGone = true;
    while (!m_bDown) {
      Sleep(100);
    }
    m_Bench.world.ExpectSwitchedOff();
    const Commands written = m_Bench.world.Written();
    EXPECT_TRUE(written.empty() || EndsSwitchedOff(written));
    if (end == End::Release) {
      m_Bench.device.Forget();
    }
  }

 private:
  static WorldOptions Options(Policy policy, std::uint64_t nSeed) {
    WorldOptions options;
    options.board.seed = nSeed;
    options.board.policy = policy;
    options.board.startTick = 0xFFFFF000;  // the counter wraps soon
    return options;
  }

  void Go() {
    m_Scenario.wavelengths.empty() ? m_Bench.device.Initialize() : m_Bench.StartMeasure(m_Scenario.wavelengths);
  }

  void BringDown(End end) {
    // The object is released only when nobody is inside one of its operations.
    while (end == End::Release && !m_bGone) {
      Sleep(1);
    }
    m_Bench.Down([&] { EXPECT_EQ(end == End::Shutdown ? m_Bench.device->Shutdown() : m_Bench.device->Release(), 0); });
    m_bDown = true;
  }

  const Scenario& m_Scenario;
  Bench m_Bench;
  std::atomic<bool> m_bGone{false};
  std::atomic<bool> m_bDown{false};
};

TEST(BringingDown, BroughtDownAtManyPoints) {
  const Scenario scenarios[] = {
      {"start-up", {}, {}, 120},
      {"version never answered", {{.letter = 'v'}}, {}, 40},
      {"filter never answered", {{.letter = 'F'}}, {}, 40},
      {"scan stops short", {{.kind = FaultKind::StopAfter, .letter = 's', .count = 5}}, {}, 40},
      {"measurement", {}, {500.0, 700.0}, 80},
      {"reading never answered", {{.letter = 'a'}}, {500.0}, 40},
      {"deuterium lamp", {}, {220.0, 500.0}, 60},
  };
  for (const Scenario& scenario : scenarios) {
    for (const Policy policy : {Policy::FirstCome, Policy::Random}) {
      const std::uint64_t nPoints = DisturbedRun(scenario, policy, 1).CountPoints();
      const std::uint64_t nRuns = RunCount(scenario.nRuns);
      for (std::uint64_t n = 0; n < nRuns; ++n) {
        const std::uint64_t nPoint = nPoints * n / nRuns + n % 7;
        const End end = n % 2 == 0 ? End::Shutdown : End::Release;
        SCOPED_TRACE(std::string(scenario.what) + (policy == Policy::Random ? ", random" : "") +
                     (end == End::Release ? ", Release" : ", Shutdown") + " at point " + std::to_string(nPoint) +
                     " of " + std::to_string(nPoints));
        DisturbedRun(scenario, policy, n + 1).Disturb(nPoint, end);
        ASSERT_FALSE(testing::Test::HasFailure());
      }
    }
  }
}

}  // namespace
}  // namespace photometer::tests
