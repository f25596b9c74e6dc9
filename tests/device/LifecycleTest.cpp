#include <atomic>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "device/Bench.h"
#include "device/Lifecycle.h"
#include "logging/LogFiles.h"
#include "platform/Platform.h"
#include "support/Density.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

// ---- Initialize ----

TEST(Lifecycle, FailedInitializeCanBeRepeated) {
  using Fault = std::function<void(World&, int)>;
  const struct {
    const char* what;
    int iFirst;
    int iLast;
    Fault fault;
  } cases[] = {
      {"table", 1, 2, [](World& w, int n) { w.kernel.memory.Start(n); }},
      {"pins", 1, 4, [](World& w, int n) { w.pins.settings.Start(n); }},
      {"event", 1, 6, [](World& w, int n) { w.kernel.events.Start(n); }},
      // The first thread is the optical reader: without it the line is as good as not there.
      {"thread", 2, 3, [](World& w, int n) { w.kernel.threads.Start(n); }},
  };
  for (const auto& c : cases) {
    for (int n = c.iFirst; n <= c.iLast; ++n) {
      for (const bool bAgain : {true, false}) {
        SCOPED_TRACE(c.what + std::to_string(n));
        Bench b;
        c.fault(b.world, n);
        EXPECT_EQ(b.device.Initialize(), E_FAIL);
        EXPECT_TRUE(!bAgain || b.device.StartUp());
      }
    }
  }
}

TEST(Lifecycle, RefusedRecords) {
  Bench b;
  PhotometerParameters params = DefaultParameters();
  const CalibrationData calibration = DefaultCalibration();
  EXPECT_EQ(b.device->Initialize(nullptr, &calibration), E_POINTER);
  EXPECT_EQ(b.device->Initialize(&params, nullptr), E_POINTER);
  // The parameters have been taken over: the limits of a request are theirs.
  EXPECT_EQ(b.StartMeasure({500.0}), E_FAIL);
  params.dA = 1e10;
  EXPECT_EQ(b.device->Initialize(&params, &calibration), E_FAIL);
  EXPECT_FALSE(b.world.board.PinOutput(0, 9).has_value()) << "the pins are untouched";
  EXPECT_TRUE(b.device.StartUp());
}

TEST(Lifecycle, InitializeIsLogged) {
  Bench b;
  CalibrationData calibration = DefaultCalibration();
  calibration.dReferencePeak = 360.8125;
  calibration.LampSwitchingPoint = 349.5;
  calibration.RefMaxWL = 900;
  calibration.RefMinWL = -20;
  const PhotometerParameters params = DefaultParameters();
  ASSERT_EQ(b.device->Initialize(&params, &calibration), S_OK);
  const std::string separator(80, ':');
  const Commands expected{separator,
                          "DLL [Photometer] initialize...",
                          "dReferencePeak= 360.812",
                          "LampSwitchingPoint= 349.500000,  RefMaxWL= 900,  RefMinWL = -20",
                          "m_dwPositionsCount= 12500",
                          "Firmware Version [KESTRA-UV 2.14 ],  iResult= 0"};
  constexpr std::size_t STAMP = 23;
  std::istringstream log(b.world.board.GetFiles().Read(DeviceLogPath, 10'000).value_or(""));
  const std::u16string debug = b.world.board.DebugText();
  for (std::string line; const std::string& text : expected) {
    std::getline(log, line);
    EXPECT_EQ(text == separator ? line : line.substr(STAMP), text);
    const bool bMirrored = text != separator && !text.starts_with("m_dw");
    EXPECT_EQ(debug.find(MultiByteToWideChar(text)) != std::u16string::npos, bMirrored) << text;
  }
}

TEST(Lifecycle, InitializeTwiceStartsCleanAfterAShutdown) {
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  EXPECT_EQ(b.device.Initialize(), E_ACCESSDENIED);
  b.device->SetCuvetteSize(40);
  b.device->SetPumpDisabled(TRUE);
  const std::u16string version = b.device->GetStatus().szFirmwareVersion;
  EXPECT_EQ(b.device->Shutdown(), S_OK);
  const std::size_t nBefore = b.world.Written().size();
  EXPECT_TRUE(b.device.StartUp());
  EXPECT_EQ(b.device->GetStatus().szFirmwareVersion, version) << "no answer to the switching off is taken for it";
  EXPECT_EQ(b.device->GetCuvetteSize(), 0);
  EXPECT_TRUE(b.device->GetPumpInfo().m_bPumpDisabled) << "the host's own wish stands";
  // Nothing is taken for set already.
  EXPECT_EQ(From(b.world.Written(), nBefore, 6), (Commands{"$v", "$o1", "$H0", "$F0", "$r1", "$z"}));
}

TEST(Lifecycle, InitializeWhileAStartUpRuns) {
  for (const DWORD dwAfter : {0U, 100U, 3000U}) {
    SCOPED_TRACE(dwAfter);
    Bench b;
    ASSERT_EQ(b.device.Initialize(), S_OK);
    Sleep(dwAfter);
    EXPECT_TRUE(b.device.StartUp());
    EXPECT_EQ(b.world.sink.Count("OnReferenceValues(24)"), 1U);
  }
}

/// What a start asked for before a `Shutdown` is still owed: none of it is taken for the next start's version.
TEST(Lifecycle, InitializeBehindAShutdownAmidAMotion) {
  for (const bool bMeasuring : {false, true}) {
    SCOPED_TRACE(bMeasuring ? "a measurement waits for raw writes" : "two Shutdowns in the start-up");
    Bench b;
    ASSERT_EQ(b.device.Initialize(), S_OK);
    const std::u16string version = b.device->GetStatus().szFirmwareVersion;
    if (bMeasuring) {
      ASSERT_TRUE(b.device.WaitUntilNotBusy());
      for (int i = 0; i < 6; ++i) {
        b.Write("$M9000\r$M100\r");
      }
      ASSERT_EQ(b.StartMeasure({500.0}), S_OK);
      Sleep(100);
    } else {
      Sleep(1000);
      ASSERT_EQ(b.world.Written().back(), "$z");
      EXPECT_EQ(b.device->Shutdown(), S_OK);
    }
    EXPECT_EQ(b.device->Shutdown(), S_OK);
    EXPECT_TRUE(b.device.StartUp());
    EXPECT_EQ(b.device->GetStatus().szFirmwareVersion, version);
  }
}

TEST(Lifecycle, NoUnitOrNoPort) {
  const struct {
    const char* logged;
    std::function<void(World&)> fault;
    std::uint64_t nSeconds;
    std::size_t nWritten;
  } cases[] = {
      {"Firmware Version [-],  iResult= 202", [](World& w) { w.unit.SwitchPower(0, false); }, 60, 2},
      {"Firmware Version [-],  iResult= 205", [](World& w) { w.board.UnplugPort(World::PORT); }, 0, 0},
  };
  for (const auto& c : cases) {
    Bench b;
    c.fault(b.world);
    EXPECT_EQ(b.device.Initialize(), S_OK);
    EXPECT_EQ(b.world.board.Now() / SECOND, c.nSeconds);
    EXPECT_EQ(From(b.world.Written(), 0, 2), From({"$v", "$o1"}, 0, c.nWritten));
    EXPECT_EQ(b.world.LogLines(c.logged), 1U);
    EXPECT_TRUE(b.device.WaitUntilNotBusy());
    EXPECT_FALSE(b.device->GetStatus().bInitialized);
    b.world.unit.SwitchPower(b.world.board.Now(), true);
    b.world.Plug();
    EXPECT_TRUE(b.device.StartUp());
  }
}

TEST(Lifecycle, StrayBytesInTheVersionLeaveTheLogLineWhole) {
  Bench b;
  b.world.unit.EmitUnasked("a\nb\x01", 4000);
  ASSERT_EQ(b.device.Initialize(), S_OK);
  EXPECT_EQ(b.device->GetStatus().szFirmwareVersion[1], u'\n');
  EXPECT_EQ(b.world.LogLines("Firmware Version [a?b?KESTRA-UV 2.14 ],  iResult= 0\n"), 1U);
}

// ---- Shutdown ----

TEST(Lifecycle, ShutdownSwitchesOffAndIsHarmlessAtAnyTime) {
  Bench b;
  EXPECT_EQ(b.device->Shutdown(), S_OK) << "before Initialize";
  ASSERT_TRUE(b.device.StartUp());
  const std::size_t nBefore = b.world.Written().size();
  b.device->Shutdown();
  EXPECT_EQ(From(b.world.Written(), nBefore, 100), SWITCH_OFF);
  EXPECT_FALSE(b.device->GetStatus().bInitialized);
  EXPECT_FALSE(b.device->GetStatus().bBusy);
  EXPECT_EQ(b.device->Shutdown(), S_OK) << "again";
  EXPECT_EQ(b.device->CancelMeasurement(), E_FAIL);
  EXPECT_EQ(b.device->GetCuvetteState(), 0);
  EXPECT_EQ(b.Write("$h1\r"), S_OK);
  EXPECT_TRUE(b.device.StartUp());
  EXPECT_EQ(From(b.world.Written(), nBefore + SWITCH_OFF.size(), 2), (Commands{"$v", "$o1"})) << "lost, not put off";
}

TEST(Lifecycle, CommandThatOvertakesTheSwitchOffIsSwitchedOffAgain) {
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  std::atomic<bool> bWriting{false};
  std::atomic<bool> bStopping{false};
  // The lamp's command is decided on before the stop and written after the switch-off; the run has ended before the
  // switch-off is over.
  b.world.ports.beforeWrite = [&](std::string_view bytes) {
    if (bytes.starts_with("$h") && bytes != "$h0\r") {
      bWriting = true;
      Sleep(100);
    } else if (bytes == "$f0\r" && bStopping.exchange(false)) {
      Sleep(500);
    }
  };
  ASSERT_EQ(b.StartMeasure({500.0}), S_OK);
  while (!bWriting) {
    Sleep(1);
  }
  bStopping = true;
  EXPECT_EQ(b.device->Shutdown(), S_OK);
  EXPECT_TRUE(EndsSwitchedOff(b.world.Written()));
  b.world.ExpectSwitchedOff();
}

TEST(Lifecycle, NothingStartsOnceAShutdownHasBegun) {
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  const int iRunning = b.world.kernel.Running();
  int iTried = 0;
  b.world.ports.beforeWrite = [&](std::string_view bytes) {
    if (bytes == "$r0\r") {
      ++iTried;
      EXPECT_EQ(b.device->StartWaveLengthTest(), E_FAIL);
      EXPECT_EQ(b.device->SetUVLamp(TRUE, 0), E_FAIL);
      EXPECT_EQ(b.device->StartFlush(1), E_FAIL);
      EXPECT_LE(b.world.kernel.Running(), iRunning);
    }
  };
  EXPECT_EQ(b.device->Shutdown(), S_OK);
  EXPECT_EQ(iTried, 1);
  EXPECT_EQ(b.world.LogLines("[WaveLengthTestProc]"), 0U);
}

/// A second host calls `second` at one scheduling point after another of `first`, each time on a device of its own.
void AtEachPoint(const WorldOptions& options, void (*first)(Bench&), void (*second)(Bench&)) {
  std::atomic<bool> bInside{true};
  for (std::uint64_t nPoint = 1; bInside && !testing::Test::HasFailure(); ++nPoint) {
    SCOPED_TRACE("seed " + std::to_string(options.board.seed) + ", point " + std::to_string(nPoint));
    Bench b(options);
    std::atomic<bool> bBack{false};
    const std::uint64_t nBefore = b.world.board.Points();
    b.world.board.RunAtPoint(nBefore + nPoint, "second host", [&] {
      bInside = !bBack;
      second(b);
    });
    first(b);
    bBack = true;
    Sleep(1000);
  }
}

TEST(Lifecycle, NothingElseStartsInsideInitialize) {
  const auto initialize = [](Bench& b) { EXPECT_EQ(b.device.Initialize(), S_OK); };
  AtEachPoint({}, initialize, [](Bench& b) {
    EXPECT_EQ(b.device->StartWaveLengthTest(), E_FAIL);
    EXPECT_EQ(b.device->SetUVLamp(TRUE, 0), E_FAIL);
  });
}

TEST(Lifecycle, ThePumpsPortIsAskedForAtAnyPointOfALife) {
  for (std::uint64_t nSeed = RunCount(4); nSeed > 0; --nSeed) {
    WorldOptions options;
    options.board = {.seed = nSeed, .policy = Policy::Random, .bHoldUps = true};
    const auto live = [](Bench& b) {
      b.world.board.UnplugPort(World::PORT);  // the start-up fails at once
      EXPECT_EQ(b.device.Initialize(), S_OK);
      EXPECT_EQ(b.device->Shutdown(), S_OK);
    };
    // The board reports the use of a closed handle.
    AtEachPoint(options, live, [](Bench& b) { b.device->OpenSipperPort(); });
  }
}

TEST(Lifecycle, ShutdownsAndInitializeTakeTurns) {
  for (const bool bStartAgain : {false, true}) {
    Bench b;
    ASSERT_TRUE(b.device.StartUp());
    const HANDLE hThread = CreateThread([&b] { EXPECT_EQ(b.device->Shutdown(), S_OK); }, "second host", nullptr);
    Sleep(10);
    if (bStartAgain) {
      EXPECT_TRUE(b.device.StartUp());
    } else {
      EXPECT_EQ(b.device->Shutdown(), S_OK);
    }
    EXPECT_EQ(WaitForSingleObject(hThread, 3000), WAIT_OBJECT_0);
    CloseHandle(hThread);
  }
}

TEST(Lifecycle, AFlushsCallbackAsksForThePumpsPortWhileAFirstInitializeWaitsForIt) {
  Bench b;
  std::uint64_t nWaited = 0;
  b.world.sink.On("OnPumpError", [&] {
    Sleep(300);
    const auto nStart = b.world.board.Now();
    EXPECT_EQ(b.device->OpenSipperPort(), 0);
    nWaited = b.world.board.Now() - nStart;
  });
  EXPECT_EQ(b.device->StartFlush(5), E_FAIL) << "it runs all the same";
  Sleep(100);
  EXPECT_TRUE(b.device.StartUp());
  EXPECT_LT(nWaited, 200'000U) << "µs";
}

// ---- callbacks ----

TEST(Lifecycle, NotFromACallback) {
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  HRESULT shutdown = S_OK;
  HRESULT initialize = S_OK;
  b.world.sink.On("OnNotify(7, 25, 0)", [&] {
    shutdown = b.device->Shutdown();
    initialize = b.device.Initialize();
    // All other operations may be called.
    EXPECT_TRUE(b.device->GetStatus().bBusy);
    EXPECT_EQ(b.device->CancelMeasurement(), S_OK);
  });
  ASSERT_EQ(b.StartMeasure({500.0}), S_OK);
  ASSERT_TRUE(b.device.WaitUntilNotBusy());
  EXPECT_EQ(shutdown, E_FAIL);
  EXPECT_EQ(initialize, E_FAIL);
  EXPECT_EQ(b.world.sink.Count("OnNotify(7, 18, 100)"), 1U);
}

TEST(Lifecycle, LastReleaseFromACallbackIsCarriedOutAfterIt) {
  for (const char* callback : {"OnNotify(0, 10, 0)", "OnReferenceValues", "OnCuvetteChanged(10)"}) {
    SCOPED_TRACE(callback);
    Bench b;
    std::atomic<bool> bReleased{false};
    bool bAliveInCallback = false;
    b.world.sink.On(callback, [&] {
      b.world.sink.ForbidCallbacks();
      EXPECT_EQ(b.device->Release(), 0);
      bAliveInCallback = b.world.board.DebugText().find(u"Destructed") == std::u16string::npos;
      bReleased = true;
    });
    ASSERT_EQ(b.device.Initialize(), S_OK);
    Sleep(60'000);
    b.world.holder.Insert(10, b.world.board.Now());
    Sleep(3000);
    ASSERT_TRUE(bReleased);
    b.device.Forget();
    EXPECT_TRUE(bAliveInCallback);
    EXPECT_NE(b.world.board.DebugText().find(u"Destructed"), std::u16string::npos);
    b.world.ExpectSwitchedOff();
  }
}

TEST(Lifecycle, LastReleaseFromACallbackOnTheHostsOwnThread) {
  struct Sink final : EmptySink {
    IPhotometer* pDevice = nullptr;
    void GetUVLampWarmUpTime(DWORD* /*pSeconds*/) override { EXPECT_EQ(pDevice->Release(), 0); }
  };
  Sink sink;
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  sink.pDevice = b.device.operator->();
  b.device->SetSink(&sink);
  b.Down([&] { EXPECT_EQ(b.device->SetUVLamp(TRUE, 60), E_FAIL); });
  b.device.Forget();
  b.world.ExpectSwitchedOff();
}

TEST(Lifecycle, ShutdownBesideABlockedCallback) {
  for (const std::string then : {"nothing", "Release", "Shutdown", "another Initialize"}) {
    SCOPED_TRACE(then);
    Bench b;
    const HANDLE hGoOn = CreateEventW(TRUE, FALSE, nullptr);
    b.world.sink.On("OnNotify(0, 4, 50)", [hGoOn] { WaitForSingleObject(hGoOn, INFINITE); });
    ASSERT_EQ(b.device.Initialize(), S_OK);
    Sleep(30'000);
    std::atomic<int> iWaiting = 0;
    if (then == "another Initialize") {
      b.world.board.RunAtPoint(b.world.board.Points() + 1, "second host", [&b, &iWaiting] {
        ++iWaiting;
        EXPECT_EQ(b.device.Initialize(), E_FAIL);
        --iWaiting;
      });
      Sleep(100);
      EXPECT_EQ(iWaiting, 1);
    }
    b.Down([&] { EXPECT_EQ(b.device->Shutdown(), S_OK); });
    EXPECT_TRUE(EndsSwitchedOff(b.world.Written()));
    while (iWaiting > 0) {
      Sleep(100);
    }
    EXPECT_EQ(b.device.Initialize(), E_FAIL) << "no new start beside the thread in the callback";
    if (then == "Shutdown") {
      b.Down([&] { EXPECT_EQ(b.device->Shutdown(), S_OK); });
    } else if (then == "Release") {
      b.Down([&] { EXPECT_EQ(b.device->Release(), 0); });
      b.device.Forget();
    }
    const std::size_t nWritten = b.world.Written().size();
    SetEvent(hGoOn);
    Sleep(1000);
    EXPECT_EQ(b.world.Written().size(), nWritten) << "touches nothing";
    b.world.ExpectSwitchedOff();
    CloseHandle(hGoOn);
    if (then != "Release") {
      b.world.sink.AllowCallbacks();
      b.world.sink.On("OnNotify(0, 4, 50)", nullptr);
      EXPECT_TRUE(b.device.StartUp());
    }
  }
}

}  // namespace
}  // namespace photometer::tests
