#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "device/Lifecycle.h"
#include "platform/Platform.h"
#include "support/Density.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

using Commands = std::vector<std::string>;

const Commands SWITCH_OFF{"$r0", "$d0", "$h0", "$f0", "$ "};
constexpr std::uint64_t SECOND = 1'000'000;
constexpr std::uint64_t SHUTDOWN_LIMIT = 3 * SECOND;

bool EndsSwitchedOff(const Commands& commands) {
  return commands.size() >= SWITCH_OFF.size() &&
         Commands(commands.end() - static_cast<std::ptrdiff_t>(SWITCH_OFF.size()), commands.end()) == SWITCH_OFF;
}

simulator::Fault SilenceOf(char letter) {
  simulator::Fault fault;
  fault.kind = simulator::FaultKind::Silence;
  fault.letter = letter;
  return fault;
}

// ---- Initialize ----

TEST(Lifecycle, FailedInitializeCanBeRepeated) {
  struct Case {
    std::string what;
    std::function<void(World&)> fault;
  };
  std::vector<Case> cases;
  for (int n = 1; n <= 2; ++n) {
    cases.push_back({"table " + std::to_string(n), [n](World& w) { w.kernel.memory.Start(n); }});
  }
  for (int n = 1; n <= 4; ++n) {
    cases.push_back({"pins " + std::to_string(n), [n](World& w) { w.pins.settings.Start(n); }});
  }
  for (int n = 1; n <= 6; ++n) {
    cases.push_back({"event " + std::to_string(n), [n](World& w) { w.kernel.events.Start(n); }});
  }
  // The first thread is the optical reader: without it the line is as good as not there.
  for (int n = 2; n <= 3; ++n) {
    cases.push_back({"thread " + std::to_string(n), [n](World& w) { w.kernel.threads.Start(n); }});
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    World world;
    Device device(world);
    c.fault(world);
    EXPECT_EQ(device.Initialize(), E_FAIL);
    EXPECT_TRUE(device.StartUp());
    device.Close();
    world.ExpectClean();
  }
}

TEST(Lifecycle, ShutdownAfterAFailedInitialize) {
  for (int n = 1; n <= 3; ++n) {
    World world;
    Device device(world);
    world.kernel.threads.Start(n);
    device.Initialize();
    device.Close();
    world.ExpectClean();
  }
}

TEST(Lifecycle, UnusablePolynomial) {
  World world;
  Device device(world);
  PhotometerParameters params = DefaultParameters();
  params.dA = 1e10;
  const CalibrationData calibration = DefaultCalibration();
  EXPECT_EQ(device->Initialize(&params, &calibration), E_FAIL);
  EXPECT_FALSE(world.board.PinOutput(0, 9).has_value()) << "the pins are untouched";
  EXPECT_TRUE(device.StartUp());
}

TEST(Lifecycle, NullRecords) {
  World world;
  Device device(world);
  const PhotometerParameters params = DefaultParameters();
  const CalibrationData calibration = DefaultCalibration();
  EXPECT_EQ(device->Initialize(nullptr, &calibration), E_POINTER);
  EXPECT_EQ(device->Initialize(&params, nullptr), E_POINTER);
  // The parameters have been taken over: the limits of a request are theirs.
  const MeasureRequest request = MeasureAt({500.0});
  EXPECT_EQ(device->StartMeasure(&request), E_FAIL);
}

TEST(Lifecycle, InitializeTwice) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  EXPECT_EQ(device.Initialize(), E_ACCESSDENIED);
  EXPECT_EQ(device->Shutdown(), S_OK);
  EXPECT_TRUE(device.StartUp());
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, InitializeWhileAStartUpRuns) {
  for (const DWORD dwAfter : {0U, 100U, 3000U}) {
    SCOPED_TRACE(dwAfter);
    World world;
    Device device(world);
    ASSERT_EQ(device.Initialize(), S_OK);
    Sleep(dwAfter);
    EXPECT_TRUE(device.StartUp());
    EXPECT_EQ(world.sink.Count("OnReferenceValues(24)"), 1U);
    device.Close();
    world.ExpectClean();
  }
}

TEST(Lifecycle, InitializeAfterAFailedStartUp) {
  World world;
  Device device(world);
  simulator::Fault fault = SilenceOf('F');
  fault.kind = simulator::FaultKind::Error;
  fault.nth = 1;
  world.unit.WireFaults().Add(fault);
  ASSERT_EQ(device.Initialize(), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_FALSE(device->GetStatus().bInitialized);
  EXPECT_EQ(world.sink.Count("OnError(0, 4)"), 1U);
  EXPECT_TRUE(device.StartUp());
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, InitializeStartsClean) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  device->SetCuvetteSize(40);
  device->Shutdown();
  const std::size_t nBefore = world.Written().size();
  ASSERT_TRUE(device.StartUp());
  EXPECT_EQ(device->GetCuvetteSize(), 0);
  // Nothing is taken for set already.
  const Commands written = world.Written();
  EXPECT_EQ(Commands(written.begin() + static_cast<std::ptrdiff_t>(nBefore),
                     written.begin() + static_cast<std::ptrdiff_t>(nBefore) + 6),
            (Commands{"$v", "$o1", "$H0", "$F0", "$r1", "$z"}));
}

TEST(Lifecycle, NoUnitOnTheLine) {
  World world;
  Device device(world);
  world.unit.SwitchPower(0, false);
  EXPECT_EQ(device.Initialize(), S_OK);
  EXPECT_GE(world.board.Now(), 60 * SECOND);
  EXPECT_LE(world.board.Now(), 61 * SECOND);
  EXPECT_EQ(world.Written().at(1), "$o1");
  EXPECT_EQ(world.LogLines("Firmware Version [-],  iResult= 202"), 1U);
  EXPECT_TRUE(device.WaitUntilNotBusy());
  EXPECT_FALSE(device->GetStatus().bInitialized);
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, StrayBytesInTheVersionLeaveTheLogLineWhole) {
  World world;
  Device device(world);
  world.unit.EmitUnasked("a\nb\x01", 4000);
  ASSERT_EQ(device.Initialize(), S_OK);
  EXPECT_EQ(device->GetStatus().szFirmwareVersion[1], u'\n');
  EXPECT_EQ(world.LogLines("Firmware Version [a?b?KESTRA-UV 2.14 ],  iResult= 0\n"), 1U);
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, NoPort) {
  World world;
  Device device(world);
  world.board.UnplugPort(World::PORT);
  EXPECT_EQ(device.Initialize(), S_OK);
  EXPECT_EQ(world.LogLines("Firmware Version [-],  iResult= 205"), 1U);
  EXPECT_TRUE(device.WaitUntilNotBusy());
  EXPECT_FALSE(device->GetStatus().bInitialized);
  world.Plug();
  EXPECT_TRUE(device.StartUp());
  device.Close();
  world.ExpectClean();
}

// ---- Shutdown ----

TEST(Lifecycle, ShutdownSwitchesOffFirst) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  const std::size_t nBefore = world.Written().size();
  device->Shutdown();
  const Commands written = world.Written();
  EXPECT_EQ(Commands(written.begin() + static_cast<std::ptrdiff_t>(nBefore), written.end()), SWITCH_OFF);
  EXPECT_FALSE(device->GetStatus().bInitialized);
  EXPECT_FALSE(device->GetStatus().bBusy);
  // Again, and all small operations: harmless.
  EXPECT_EQ(device->Shutdown(), S_OK);
  EXPECT_EQ(device->CancelMeasurement(), E_FAIL);
  EXPECT_EQ(device->GetCuvetteState(), 0);
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, NothingStartsOnceAShutdownHasBegun) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  const int iRunning = world.kernel.Running();
  int iTried = 0;
  world.ports.beforeWrite = [&](std::string_view bytes) {
    if (bytes == "$r0\r") {
      ++iTried;
      EXPECT_EQ(device->StartWaveLengthTest(), E_FAIL);
      EXPECT_EQ(device->SetUVLamp(TRUE, 0), E_FAIL);
      EXPECT_EQ(device->StartFlush(1), E_FAIL);
      EXPECT_LE(world.kernel.Running(), iRunning);
    }
  };
  EXPECT_EQ(device->Shutdown(), S_OK);
  EXPECT_EQ(iTried, 1);
  EXPECT_EQ(world.LogLines("[WaveLengthTestProc]"), 0U);
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, ShutdownBeforeInitialize) {
  World world;
  Device device(world);
  EXPECT_EQ(device->Shutdown(), S_OK);
  EXPECT_TRUE(device.StartUp());
  device.Close();
  world.ExpectClean();
}

/// What runs when the device is brought down.
struct Scenario {
  const char* what;
  std::function<void(World&)> prepare;
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
      : m_Scenario(scenario), m_World(Options(policy, nSeed)) {
    m_Device.emplace(m_World);
    if (scenario.wavelengths.empty()) {
      scenario.prepare(m_World);
    } else {
      EXPECT_TRUE(m_Device->StartUp());
      scenario.prepare(m_World);
    }
  }

  /// Undisturbed: the number of scheduling points.
  std::uint64_t CountPoints() {
    const std::uint64_t nFirst = m_World.board.Points();
    Go();
    EXPECT_TRUE(m_Device->WaitUntilNotBusy());
    const std::uint64_t nPoints = m_World.board.Points() - nFirst;
    m_Device->Close();
    return nPoints;
  }

  void Disturb(std::uint64_t nPoint, End end) {
    // The first point is passed before `Initialize` has its turn: what happens there comes before it.
    m_World.board.RunAtPoint(m_World.board.Points() + 2 + nPoint, "host", [this, end] { BringDown(end); });
    Go();
    m_bGone = true;
    while (!m_bDown) {
      Sleep(100);
    }
    m_World.ExpectSwitchedOff();
    const Commands written = m_World.Written();
    EXPECT_TRUE(written.empty() || EndsSwitchedOff(written));
    if (end == End::Release) {
      m_Device->Forget();
    }
    m_Device->Close();
    m_World.ExpectClean();
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
    if (m_Scenario.wavelengths.empty()) {
      m_Device->Initialize();
    } else {
      const MeasureRequest request = MeasureAt(m_Scenario.wavelengths);
      (*m_Device)->StartMeasure(&request);
    }
  }

  void BringDown(End end) {
    // The object is released only when nobody is inside one of its operations.
    while (end == End::Release && !m_bGone) {
      Sleep(1);
    }
    const std::uint64_t nStart = m_World.board.Now();
    m_World.sink.ForbidCallbacks();
    if (end == End::Shutdown) {
      EXPECT_EQ((*m_Device)->Shutdown(), S_OK);
    } else {
      EXPECT_EQ((*m_Device)->Release(), 0);
    }
    EXPECT_LE(m_World.board.Now() - nStart, SHUTDOWN_LIMIT);
    m_bDown = true;
  }

  const Scenario& m_Scenario;
  World m_World;
  std::optional<Device> m_Device;
  std::atomic<bool> m_bGone{false};
  std::atomic<bool> m_bDown{false};
};

TEST(Lifecycle, BroughtDownAtManyPoints) {
  const auto nothing = [](World&) {};
  const Scenario scenarios[] = {
      {"start-up", nothing, {}, 120},
      {"version never answered", [](World& w) { w.unit.WireFaults().Add(SilenceOf('v')); }, {}, 40},
      {"filter never answered", [](World& w) { w.unit.WireFaults().Add(SilenceOf('F')); }, {}, 40},
      {"scan stops short",
       [](World& w) {
         simulator::Fault fault;
         fault.kind = simulator::FaultKind::StopAfter;
         fault.letter = 's';
         fault.count = 5;
         w.unit.WireFaults().Add(fault);
       },
       {},
       40},
      {"measurement", nothing, {500.0, 700.0}, 80},
      {"reading never answered", [](World& w) { w.unit.WireFaults().Add(SilenceOf('a')); }, {500.0}, 40},
      {"deuterium lamp", nothing, {220.0, 500.0}, 60},
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

TEST(Lifecycle, CommandThatOvertakesTheSwitchOffIsSwitchedOffAgain) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  const HANDLE hWriting = CreateEventW(TRUE, FALSE, nullptr);
  std::atomic<bool> bStopping{false};
  // The lamp's command is decided on before the stop and written after the switch-off; the run has ended before the
  // switch-off is over.
  world.ports.beforeWrite = [&](std::string_view bytes) {
    if (bytes.starts_with("$h") && bytes != "$h0\r") {
      SetEvent(hWriting);
      Sleep(100);
    } else if (bStopping && bytes == "$ \r") {
      bStopping = false;
      Sleep(500);
    }
  };
  const MeasureRequest request = MeasureAt({500.0});
  ASSERT_EQ(device->StartMeasure(&request), S_OK);
  WaitForSingleObject(hWriting, INFINITE);
  bStopping = true;
  EXPECT_EQ(device->Shutdown(), S_OK);
  EXPECT_TRUE(EndsSwitchedOff(world.Written()));
  world.ExpectSwitchedOff();
  CloseHandle(hWriting);
  device.Close();
  world.ExpectClean();
}

/// The host switches the halogen lamp on by its own bytes.
void WriteLampOn(Device& device) {
  constexpr BYTE LAMP_ON[] = {'$', 'h', '1', '\r'};
  EXPECT_EQ(device->WriteOpticalPort(LAMP_ON, sizeof(LAMP_ON)), S_OK);
}

TEST(Lifecycle, BytesOfTheHostNeverFollowTheSwitchOff) {
  for (const Policy policy : {Policy::FirstCome, Policy::Random}) {
    for (std::uint64_t nPoint = 1; nPoint <= 16; ++nPoint) {
      SCOPED_TRACE(nPoint);
      WorldOptions options;
      options.board.policy = policy;
      options.board.seed = nPoint;
      World world(options);
      Device device(world);
      ASSERT_TRUE(device.StartUp());
      // A write takes its time, so that `Shutdown` comes before, in and after it.
      world.ports.beforeWrite = [](std::string_view bytes) { Sleep(bytes == "$h1\r" ? 20 : 0); };
      std::atomic<bool> bDown{false};
      world.board.RunAtPoint(world.board.Points() + nPoint, "second host", [&] {
        EXPECT_EQ(device->Shutdown(), S_OK);
        bDown = true;
      });
      WriteLampOn(device);
      while (!bDown) {
        Sleep(1);
      }
      const std::size_t nWritten = world.Written().size();
      EXPECT_TRUE(EndsSwitchedOff(world.Written()));
      WriteLampOn(device);
      world.ExpectSwitchedOff();
      // What came too late does not come at the next start either.
      EXPECT_TRUE(device.StartUp());
      EXPECT_EQ(world.Written().at(nWritten), "$v");
      device.Close();
      world.ExpectClean();
    }
  }
}

TEST(Lifecycle, TwoShutdownsAtOnce) {
  World world;
  Device device(world);
  ASSERT_EQ(device.Initialize(), S_OK);
  const HANDLE hThread = CreateThread([&device] { EXPECT_EQ(device->Shutdown(), S_OK); }, "second host", nullptr);
  EXPECT_EQ(device->Shutdown(), S_OK);
  EXPECT_EQ(WaitForSingleObject(hThread, 3000), WAIT_OBJECT_0);
  CloseHandle(hThread);
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, InitializeBesideShutdown) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  const HANDLE hThread = CreateThread([&device] { EXPECT_EQ(device->Shutdown(), S_OK); }, "second host", nullptr);
  Sleep(10);
  EXPECT_TRUE(device.StartUp()) << "waits for its turn";
  WaitForSingleObject(hThread, INFINITE);
  CloseHandle(hThread);
  device.Close();
  world.ExpectClean();
}

/// Counts what a flush tells.
class FlushSink final : public EmptySink {
 public:
  void OnPumpError(DWORD /*dwRequestId*/, DWORD /*dwError*/) override { ++iHeard; }
  std::atomic<int> iHeard{0};
};

TEST(Lifecycle, NothingIsHeardAfterAShutdownThatMeetsAnInitialize) {
  // Wherever in the start the shutdown begins: a flush of the device that is down finds the way to the host closed. At
  // the first point `Initialize` does not have its turn yet, and would come after it.
  for (std::uint64_t nPoint = 3; nPoint < 40; ++nPoint) {
    SCOPED_TRACE(nPoint);
    World world;
    Device device(world);
    FlushSink sink;
    std::atomic<bool> bDown{false};
    world.board.RunAtPoint(world.board.Points() + nPoint, "second host", [&] {
      EXPECT_EQ(device->Shutdown(), S_OK);
      bDown = true;
    });
    device.Initialize();
    while (!bDown) {
      Sleep(10);
    }
    device->SetSink(&sink);
    device->StartFlush(1);
    Sleep(100);
    EXPECT_EQ(sink.iHeard, 0);
    device.Close();
    world.ExpectClean();
  }
}

// ---- callbacks ----

TEST(Lifecycle, NotFromACallback) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  HRESULT shutdown = S_OK;
  HRESULT initialize = S_OK;
  world.sink.On("OnNotify(7, 25, 0)", [&] {
    shutdown = device->Shutdown();
    initialize = device.Initialize();
    // All other operations may be called.
    EXPECT_TRUE(device->GetStatus().bBusy);
    EXPECT_EQ(device->CancelMeasurement(), S_OK);
  });
  const MeasureRequest request = MeasureAt({500.0});
  ASSERT_EQ(device->StartMeasure(&request), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_EQ(shutdown, E_FAIL);
  EXPECT_EQ(initialize, E_FAIL);
  EXPECT_EQ(world.sink.Count("OnNotify(7, 18, 100)"), 1U);
  device.Close();
  world.ExpectClean();
}

TEST(Lifecycle, LastReleaseFromACallbackIsCarriedOutAfterIt) {
  for (const char* callback : {"OnNotify(0, 10, 0)", "OnNotify(0, 4, 50)", "OnReferenceValues", "OnNotify(0, 39, 0)",
                               "OnCuvetteChanged(10)", "QueryCuvetteWait()"}) {
    SCOPED_TRACE(callback);
    World world;
    Device device(world);
    std::atomic<bool> bReleased{false};
    bool bAliveInCallback = false;
    world.sink.On(callback, [&] {
      world.sink.ForbidCallbacks();
      EXPECT_EQ(device->Release(), 0);
      bAliveInCallback = world.board.DebugText().find(u"Destructed") == std::u16string::npos;
      bReleased = true;
    });
    ASSERT_EQ(device.Initialize(), S_OK);
    Sleep(2000);
    if (!bReleased) {
      world.holder.Insert(10, world.board.Now());
    }
    for (int i = 0; i < 600 && !bReleased; ++i) {
      Sleep(100);
      if (std::string(callback) != "OnCuvetteChanged(10)") {
        world.holder.Remove(world.board.Now());
      }
    }
    ASSERT_TRUE(bReleased);
    device.Forget();
    EXPECT_TRUE(bAliveInCallback);
    Sleep(3000);
    EXPECT_NE(world.board.DebugText().find(u"Destructed"), std::u16string::npos);
    world.ExpectSwitchedOff();
    world.ExpectClean();
  }
}

TEST(Lifecycle, ShutdownBesideABlockedCallback) {
  struct {
    const char* what;
    bool bReleaseBefore;
    bool bAgain;
  } const cases[] = {
      {"released after the callback", false, false},
      {"released before the callback ends", true, false},
      {"shut down twice", false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    World world;
    Device device(world);
    const HANDLE hGoOn = CreateEventW(TRUE, FALSE, nullptr);
    world.sink.On("OnNotify(0, 4, 50)", [hGoOn] { WaitForSingleObject(hGoOn, INFINITE); });
    ASSERT_EQ(device.Initialize(), S_OK);
    Sleep(30'000);
    const auto down = [&](auto bringDown) {
      const std::uint64_t nStart = world.board.Now();
      world.sink.ForbidCallbacks();
      bringDown();
      EXPECT_LE(world.board.Now() - nStart, SHUTDOWN_LIMIT);
    };
    down([&] { EXPECT_EQ(device->Shutdown(), S_OK); });
    EXPECT_TRUE(EndsSwitchedOff(world.Written()));
    // The thread in the callback is not ended: no new start beside it.
    EXPECT_EQ(device.Initialize(), E_FAIL);
    if (c.bAgain) {
      down([&] { EXPECT_EQ(device->Shutdown(), S_OK); });
    }
    if (c.bReleaseBefore) {
      down([&] { EXPECT_EQ(device->Release(), 0); });
      device.Forget();
    }
    const std::size_t nWritten = world.Written().size();
    SetEvent(hGoOn);
    Sleep(1000);
    EXPECT_EQ(world.Written().size(), nWritten) << "touches nothing";
    world.ExpectSwitchedOff();
    CloseHandle(hGoOn);
    if (!c.bReleaseBefore) {
      world.sink.AllowCallbacks();
      world.sink.On("OnNotify(0, 4, 50)", nullptr);
      EXPECT_TRUE(device.StartUp());
    }
    device.Close();
    world.ExpectClean();
  }
}

TEST(Lifecycle, ShutdownBesideABlockedCallbackAndAnInitializeThatWaitsForIt) {
  World world;
  Device device(world);
  const HANDLE hGoOn = CreateEventW(TRUE, FALSE, nullptr);
  world.sink.On("OnNotify(0, 4, 50)", [hGoOn] { WaitForSingleObject(hGoOn, INFINITE); });
  ASSERT_EQ(device.Initialize(), S_OK);
  Sleep(30'000);
  const HANDLE hThread = CreateThread([&device] { EXPECT_EQ(device.Initialize(), E_FAIL); }, "second host", nullptr);
  Sleep(100);
  const std::uint64_t nStart = world.board.Now();
  EXPECT_EQ(device->Shutdown(), S_OK);
  EXPECT_LE(world.board.Now() - nStart, SHUTDOWN_LIMIT);
  WaitForSingleObject(hThread, INFINITE);
  CloseHandle(hThread);
  SetEvent(hGoOn);
  Sleep(1000);
  CloseHandle(hGoOn);
  device.Close();
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
