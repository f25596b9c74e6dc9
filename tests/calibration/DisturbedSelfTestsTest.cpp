/// The self-tests, cancelled or brought down at many scheduling points: one end, everything off, and the next run as if
/// nothing had happened.
#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calibration/SelfTestBench.h"
#include "support/Density.h"

namespace photometer::tests {
namespace {

using platform::Policy;
using platform::Sleep;

/// Runs of each procedure, policy and disturbance.
constexpr std::uint64_t USUAL_RUNS = 40;

struct Procedure {
  const char* name;
  std::function<HRESULT(Device&)> start;
  /// Callbacks of which each run makes exactly one; the first is that of an undisturbed run.
  Texts ends;
};

HRESULT StartCheck(Device& device) {
  const WavelengthCheckRequest request{9, {360.7, 537.0}};
  return device->StartWavelengthCheck(&request);
}

HRESULT StartScan(Device& device) {
  const HolmiumOxideScanRequest request{9, 6000, 6040};
  return device->StartHolmiumOxideScan(&request);
}

HRESULT StartSystemCheck(Device& device) {
  const SystemCheckRequest request{9, 360.7, 0.0};
  return device->StartSystemCheck(&request);
}

const Procedure PROCEDURES[] = {
    {"wavelength test", [](Device& d) { return d->StartWaveLengthTest(); }, {"30/0", "35/0"}},
    {"wavelength check", StartCheck, {"9:17/100", "9:18/100"}},
    {"holmium oxide scan", StartScan, {"9:17/100"}},
    {"system check", StartSystemCheck, {"9:17/100"}},
};

enum class Disturbance { Cancel, Shutdown };

class DisturbedRun {
 public:
  DisturbedRun(const Procedure& procedure, Policy policy, std::uint64_t nSeed)
      : m_Procedure(procedure), m_Bench({}, Options(policy, nSeed)) {}

  /// Undisturbed: the number of scheduling points.
  std::uint64_t CountPoints() {
    const std::uint64_t nFirst = m_Bench.world.board.Points();
    ExpectSoundRun();
    return m_Bench.world.board.Points() - nFirst;
  }

  void Disturb(std::uint64_t nPoint, Disturbance disturbance) {
    m_Bench.world.board.RunAtPoint(m_Bench.world.board.Points() + 1 + nPoint, "host", [this, disturbance] {
      disturbance == Disturbance::Cancel ? static_cast<void>(m_Bench.device->CancelMeasurement()) : BringDown();
      m_bDone = true;
    });
    m_Bench.Forget();
    m_Procedure.start(m_Bench.device);
    while (!m_bDone) {
      Sleep(100);
    }
    EXPECT_TRUE(m_Bench.device.WaitUntilNotBusy());
    m_Bench.world.ExpectSwitchedOff();
    EXPECT_LE(CountEnds(), 1U);
    EXPECT_TRUE(CountEnds() == 1 || disturbance == Disturbance::Shutdown);
    EXPECT_FALSE(m_Bench.device->GetStatus().bCancel);
    m_Bench.world.sink.AllowCallbacks();
    EXPECT_TRUE(m_Bench.IsInitialized() || m_Bench.StartUp(THREE_WAVELENGTHS));
    ExpectSoundRun();
  }

 private:
  static platform::VirtualBoardOptions Options(Policy policy, std::uint64_t nSeed) {
    platform::VirtualBoardOptions options;
    options.seed = nSeed;
    options.policy = policy;
    return options;
  }

  std::size_t CountEnds() const {
    std::size_t nEnds = 0;
    for (const std::string& end : m_Procedure.ends) {
      nEnds += m_Bench.Count(end);
    }
    return nEnds;
  }

  void BringDown() {
    constexpr std::uint64_t LIMIT = 3'000'000;
    const std::uint64_t nStart = m_Bench.world.board.Now();
    m_Bench.world.sink.ForbidCallbacks();
    EXPECT_EQ(m_Bench.device->Shutdown(), S_OK);
    EXPECT_LE(m_Bench.world.board.Now() - nStart, LIMIT);
  }

  void ExpectSoundRun() {
    m_Bench.Forget();
    EXPECT_EQ(m_Procedure.start(m_Bench.device), S_OK);
    EXPECT_TRUE(m_Bench.device.WaitUntilNotBusy());
    EXPECT_EQ(m_Bench.Count(m_Procedure.ends.front()), 1U);
    EXPECT_EQ(CountEnds(), 1U);
    EXPECT_THAT(m_Bench.Calls(), testing::Not(testing::HasSubstr("OnError")));
    EXPECT_TRUE(m_Bench.IsInitialized());
  }

  const Procedure& m_Procedure;
  StartedBench m_Bench;
  std::atomic<bool> m_bDone{false};
};

void DisturbAtManyPoints(Disturbance disturbance) {
  const std::uint64_t nRuns = RunCount(USUAL_RUNS);
  for (const Procedure& procedure : PROCEDURES) {
    for (const Policy policy : {Policy::FirstCome, Policy::Random}) {
      const std::uint64_t nPoints = DisturbedRun(procedure, policy, 1).CountPoints();
      for (std::uint64_t n = 0; n < nRuns; ++n) {
        const std::uint64_t nPoint = nPoints * n / nRuns + n % 7;
        SCOPED_TRACE(std::string(procedure.name) + (policy == Policy::Random ? ", random, seed " : ", seed ") +
                     std::to_string(n + 1) + ", at point " + std::to_string(nPoint) + " of " + std::to_string(nPoints));
        DisturbedRun(procedure, policy, n + 1).Disturb(nPoint, disturbance);
        ASSERT_FALSE(testing::Test::HasFailure());
      }
    }
  }
}

TEST(DisturbedSelfTests, CancelledAtManyPoints) { DisturbAtManyPoints(Disturbance::Cancel); }

TEST(DisturbedSelfTests, ShutDownAtManyPoints) { DisturbAtManyPoints(Disturbance::Shutdown); }

}  // namespace
}  // namespace photometer::tests
