/// The self-tests, cancelled or brought down at many scheduling points: one end, everything off, and the next run as if
/// nothing had happened.
#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/SelfTestHost.h"
#include "platform/Platform.h"
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
  std::vector<std::string> ends;
};

const std::vector<Procedure>& Procedures() {
  static const std::vector<Procedure> procedures{
      {"wavelength test",
       [](Device& d) { return d->StartWaveLengthTest(); },
       {"OnNotify(0, 30, 0)", "OnNotify(0, 35, 0)"}},
      {"wavelength check",
       [](Device& d) {
         const WavelengthCheckRequest request{9, {360.7, 537.0}};
         return d->StartWavelengthCheck(&request);
       },
       {"OnNotify(9, 17, 100)", "OnNotify(9, 18, 100)"}},
      {"holmium oxide scan",
       [](Device& d) {
         const HolmiumOxideScanRequest request{9, 6000, 6040};
         return d->StartHolmiumOxideScan(&request);
       },
       {"OnNotify(9, 17, 100)"}},
      {"system check",
       [](Device& d) {
         const SystemCheckRequest request{9, 360.7, 0.0};
         return d->StartSystemCheck(&request);
       },
       {"OnNotify(9, 17, 100)"}},
  };
  return procedures;
}

enum class Disturbance { Cancel, Shutdown };

class DisturbedRun {
 public:
  DisturbedRun(const Procedure& procedure, Policy policy, std::uint64_t nSeed)
      : m_Procedure(procedure), m_World(Options(policy, nSeed)), m_Device(m_World) {
    EXPECT_TRUE(m_Device.StartUp());
  }

  /// Undisturbed: the number of scheduling points.
  std::uint64_t CountPoints() {
    const std::uint64_t nFirst = m_World.board.Points();
    ExpectSoundRun();
    return m_World.board.Points() - nFirst;
  }

  void Disturb(std::uint64_t nPoint, Disturbance disturbance) {
    const auto disturb = [&, disturbance] {
      disturbance == Disturbance::Cancel ? Cancel() : BringDown();
      m_bDone = true;
    };
    m_World.board.RunAtPoint(m_World.board.Points() + 1 + nPoint, "host", disturb);
    const std::size_t nCalls = m_World.sink.Calls().size();
    m_Procedure.start(m_Device);
    while (!m_bDone) {
      Sleep(100);
    }
    EXPECT_TRUE(m_Device.WaitUntilNotBusy());
    m_World.ExpectSwitchedOff();
    if (disturbance == Disturbance::Cancel) {
      EXPECT_EQ(CountEnds(nCalls, m_Procedure.ends), 1U);
      EXPECT_FALSE(m_Device->GetStatus().bCancel);
    } else {
      EXPECT_LE(CountEnds(nCalls, m_Procedure.ends), 1U);
      m_World.sink.AllowCallbacks();
    }
    if (!m_Device->GetStatus().bInitialized) {
      MakeReady(disturbance);
    }
    ExpectSoundRun();
    m_Device.Close();
    m_World.ExpectClean();
  }

 private:
  static WorldOptions Options(Policy policy, std::uint64_t nSeed) {
    WorldOptions options;
    options.board.seed = nSeed;
    options.board.policy = policy;
    return options;
  }

  std::size_t CountEnds(std::size_t nFirst, const std::vector<std::string>& ends) const {
    std::size_t nEnds = 0;
    for (const std::string& call : CallsFrom(m_World, nFirst)) {
      nEnds += static_cast<std::size_t>(std::ranges::count(ends, call));
    }
    return nEnds;
  }

  void Cancel() { m_Device->CancelMeasurement(); }

  void BringDown() {
    constexpr std::uint64_t LIMIT = 3'000'000;
    const std::uint64_t nStart = m_World.board.Now();
    m_World.sink.ForbidCallbacks();
    EXPECT_EQ(m_Device->Shutdown(), S_OK);
    EXPECT_LE(m_World.board.Now() - nStart, LIMIT);
  }

  /// After a cancelled wavelength test, or after `Shutdown`.
  void MakeReady(Disturbance disturbance) {
    if (disturbance == Disturbance::Shutdown) {
      EXPECT_TRUE(m_Device.StartUp());
      return;
    }
    EXPECT_EQ(m_Device->StartWaveLengthTest(), S_OK);
    EXPECT_TRUE(m_Device.WaitUntilNotBusy());
  }

  void ExpectSoundRun() {
    const std::size_t nCalls = m_World.sink.Calls().size();
    EXPECT_EQ(m_Procedure.start(m_Device), S_OK);
    EXPECT_TRUE(m_Device.WaitUntilNotBusy());
    EXPECT_EQ(CountEnds(nCalls, {m_Procedure.ends.front()}), 1U);
    EXPECT_EQ(CountEnds(nCalls, m_Procedure.ends), 1U);
    for (const std::string& call : CallsFrom(m_World, nCalls)) {
      EXPECT_FALSE(call.starts_with("OnError")) << call;
    }
    EXPECT_TRUE(m_Device->GetStatus().bInitialized);
  }

  const Procedure& m_Procedure;
  World m_World;
  Device m_Device;
  std::atomic<bool> m_bDone{false};
};

void DisturbAtManyPoints(Disturbance disturbance) {
  for (const Procedure& procedure : Procedures()) {
    for (const Policy policy : {Policy::FirstCome, Policy::Random}) {
      const std::uint64_t nPoints = DisturbedRun(procedure, policy, 1).CountPoints();
      const std::uint64_t nRuns = RunCount(USUAL_RUNS);
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
