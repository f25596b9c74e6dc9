// The smallest host: starts the instrument up, measures at three wavelengths, prints the values, switches everything
// off.
//
// The board file says where the instrument is (environment variable PHOTOMETER_BOARD, else /etc/photometer/board.toml;
// see photometer-board(5)). Without an instrument, photometer-simulator makes one, and its board file.
#include <chrono>
#include <cstdio>
#include <thread>

#include "Instrument.h"
#include "photometer/EmptySink.h"
#include "photometer/IPhotometer.h"

namespace {

// What the device tells. The calls come from a thread of the library, one at a time, and what a pointer points to is
// gone when the call returns: keep copies. Nothing is told any more once the device is not busy, so main may read them.
class Sink final : public photometer::EmptySink {
 public:
  void OnResult(photometer::DWORD, const photometer::MeasureValues* pValues) override {
    m_Values.insert(m_Values.end(), pValues->begin(), pValues->end());
  }
  void OnError(photometer::DWORD, photometer::DWORD dwError) override {
    std::fprintf(stderr, "the instrument reports error %d\n", static_cast<int>(dwError));  // signed in truth
  }

  photometer::MeasureValues m_Values;
};

// Start operations return at once; their work goes on in threads of the library.
void WaitUntilIdle(photometer::IPhotometer& device) {
  while (device.GetStatus().bBusy) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

bool Measure(photometer::IPhotometer& device) {
  // Request 1, lamps change at 340 nm, one reading each, neither turbidity nor cuvette size nor pump.
  const photometer::MeasureRequest request{1, 340.0, 1, 0, 0, 0, 0, {436, 525, 620}, {1, 2, 3}};
  if (device.StartMeasure(&request) != photometer::S_OK) {
    return false;
  }
  WaitUntilIdle(device);
  return true;
}

bool StartUpAndMeasure(photometer::IPhotometer& device) {
  const photometer::InstrumentSettings settings = example::LoadSettings();
  const photometer::PhotometerParameters params = example::ParametersOf(settings);
  const photometer::CalibrationData calibration = example::CalibrationOf(settings, {436, 525, 620});
  if (device.Initialize(&params, &calibration) != photometer::S_OK) {
    return false;
  }
  WaitUntilIdle(device);
  return device.GetStatus().bInitialized && Measure(device);
}

}  // namespace

int main() {
  photometer::IPhotometer* pDevice = CreatePhotometer();
  if (pDevice == nullptr) {
    return 1;  // no usable board file: the reason was written to standard error
  }
  Sink sink;
  pDevice->SetSink(&sink);
  const bool bMeasured = StartUpAndMeasure(*pDevice);
  // Always, whatever went wrong before: it switches the lamps off. Then nothing is told any more, and the sink may go.
  pDevice->Shutdown();
  pDevice->Release();

  for (const photometer::MeasureValue& value : sink.m_Values) {
    std::printf("%.0f nm: sample %.0f, reference %.0f counts\n", value.dWavelength, value.dValue, value.dValueRef);
  }
  return bMeasured && sink.m_Values.size() == 3 ? 0 : 1;
}
