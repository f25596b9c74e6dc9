/// What a ten-hour session of the deuterium lamp costs on the virtual board, with everything that runs in an
/// instrument: timer, cuvette reader, and three readers with the simulated optical unit and both pumps on their lines.
#include <stdexcept>

#include <benchmark/benchmark.h>

#include "device/Photometer.h"
#include "photometer/EmptySink.h"
#include "platform/Platform.h"
#include "platform/virtual/VirtualBoard.h"
#include "simulator/CuvetteHolder.h"
#include "simulator/OpticalUnit.h"
#include "simulator/SipperZQ410.h"
#include "simulator/SipperZQ420.h"
#include "support/DefaultRecords.h"

namespace {

using namespace photometer;
using namespace photometer::platform;

constexpr DWORD LookPeriod = 1000;
/// The start-up, and a session's warm-up of ten minutes.
constexpr DWORD LongestRun = 1'200'000;
/// The session may burn for ten hours; its switch-off comes in the tick behind them.
constexpr DWORD SessionSeconds = 36'003;

class Host final : public EmptySink {};

void WaitUntilNotBusy(IPhotometer& photometer) {
  for (DWORD dwWaited = 0; photometer.GetStatus().bBusy != 0; dwWaited += LookPeriod) {
    if (dwWaited == LongestRun) throw std::runtime_error("the device stays busy");
    Sleep(LookPeriod);
  }
}

/// One session from its start to its end by the timer.
void RunSession(IPhotometer& photometer) {
  if (photometer.SetUVLamp(TRUE, 1) != S_OK) throw std::runtime_error("the lamp is not switched on");
  WaitUntilNotBusy(photometer);
  if (photometer.GetUVLampState() != 1) throw std::runtime_error("the lamp does not burn");
  Sleep(SessionSeconds * 1000);
  if (photometer.GetUVLampState() != 0) throw std::runtime_error("the session does not end");
}

/// Argument: the operating mode, with the pump that it stands for.
void TenHourSession(benchmark::State& state) {
  const auto dwMode = static_cast<DWORD>(state.range(0));
  simulator::OpticalUnit unit;
  simulator::CuvetteHolder holder({1, true, 0});
  simulator::SipperZQ410 zq410;
  simulator::SipperZQ420 zq420;
  VirtualBoard board;
  board.PlugPort(u"COM2:", unit, true);
  board.PlugPort(u"COM1:", zq410);
  board.PlugPort(u"COM6:", zq420);
  board.PlugPins(&holder);
  SetBoard(&board);
  Host host;
  auto* const pPhotometer = new Photometer;
  pPhotometer->AddRef();
  pPhotometer->SetSink(&host);
  PhotometerParameters params = tests::DefaultParameters();
  params.dwOperatingMode = dwMode;
  const CalibrationData calibration = tests::DefaultCalibration();
  if (pPhotometer->Initialize(&params, &calibration) != S_OK) throw std::runtime_error("the device does not start");
  WaitUntilNotBusy(*pPhotometer);
  const std::uint64_t nPoints = board.Points();
  for (auto _ : state) {
    RunSession(*pPhotometer);
  }
  state.counters["points"] =
      benchmark::Counter(static_cast<double>(board.Points() - nPoints), benchmark::Counter::kAvgIterations);
  pPhotometer->Shutdown();
  pPhotometer->Release();
  SetBoard(nullptr);
}

BENCHMARK(TenHourSession)->Arg(0)->Arg(1)->Arg(2)->ArgName("mode")->Unit(benchmark::kMillisecond);

}  // namespace
