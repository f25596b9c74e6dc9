// A host that a person watches: it records a spectrum, shows how far the run is, and ends it on Ctrl-C.
//
// It drives the instrument of the board file, as minimal.cpp does. New here: what OnNotify tells, how one knows how a
// run ended, and how a run is cancelled.
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>

#include "Instrument.h"
#include "photometer/EmptySink.h"
#include "photometer/IPhotometer.h"

namespace {

// A signal's handler may do next to nothing. The main thread looks at the flag and does the rest.
volatile std::sig_atomic_t g_iRequests = 0;
void OnSignal(int) { g_iRequests = g_iRequests + 1; }

void Say(const std::string& text) {
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
}

enum class End { None, Finished, Cancelled, Failed };

// Callbacks should be short: while one runs, the run itself waits. These print a line and keep what main asks for.
class Sink final : public photometer::EmptySink {
 public:
  // The start-up tells its progress in per cent. 17 and 18 are the ends of a run.
  void OnNotify(photometer::DWORD, photometer::DWORD dwCode, photometer::DWORD dwValue) override {
    if (dwCode == 4) {
      Say("start-up: " + std::to_string(dwValue) + " %");
    } else if (dwCode == 17) {
      m_end = End::Finished;
    } else if (dwCode == 18) {
      m_end = End::Cancelled;
    }
  }
  // A spectrum comes in portions, so that a host can draw it while it grows. One may be empty.
  void OnResult(photometer::DWORD, const photometer::MeasureValues* pValues) override {
    m_nPoints += pValues->size();
    if (!pValues->empty() && pValues->back().dWavelength >= m_dNextLine) {
      Say("recorded up to " + std::to_string(std::lround(pValues->back().dWavelength)) + " nm");
      m_dNextLine = pValues->back().dWavelength + 50;
    }
  }
  void OnError(photometer::DWORD, photometer::DWORD dwError) override {
    m_end = End::Failed;
    Say("the instrument reports error " + std::to_string(static_cast<photometer::LONG>(dwError)));  // signed in truth
  }

  // The main thread reads them while callbacks may come: hence atomic.
  std::atomic<End> m_end = End::None;
  std::atomic<std::size_t> m_nPoints = 0;

 private:
  double m_dNextLine = 0;
};

// A cancelled run needs a moment: it ends with the exchange that is under way, and puts the instrument in order.
void WaitAndCancelOnRequest(photometer::IPhotometer& device) {
  bool bCancelled = false;
  while (device.GetStatus().bBusy) {
    if (g_iRequests > 0 && !bCancelled) {
      bCancelled = device.CancelMeasurement() == photometer::S_OK;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

// A start-up that is cancelled has failed. Who does not want to wait for it shuts the device down.
bool StartUp(photometer::IPhotometer& device) {
  const photometer::InstrumentSettings settings = example::LoadSettings();
  const photometer::PhotometerParameters params = example::ParametersOf(settings);
  const photometer::CalibrationData calibration = example::CalibrationOf(settings, {525});
  if (device.Initialize(&params, &calibration) != photometer::S_OK) {
    return false;
  }
  while (device.GetStatus().bBusy && g_iRequests == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return device.GetStatus().bInitialized != 0;
}

End RecordSpectrum(photometer::IPhotometer& device, Sink& sink) {
  if (!StartUp(device)) {
    return g_iRequests > 0 ? End::Cancelled : End::Failed;
  }
  Say("recording 400 to 800 nm; Ctrl-C ends it");
  // Request 2, lamps change at 340 nm, lamp chosen automatically, a point each nanometre, no turbidity.
  const photometer::ScanRequest request{2, 400.0, 800.0, 340.0, 0, 1, 0};
  if (device.StartScan(&request) != photometer::S_OK) {
    return End::Failed;
  }
  WaitAndCancelOnRequest(device);
  // Not busy any more: all that the run had to tell has been told.
  return sink.m_end;
}

}  // namespace

int main() {
  std::signal(SIGINT, OnSignal);
  photometer::IPhotometer* pDevice = CreatePhotometer();
  if (pDevice == nullptr) {
    return 1;
  }
  Sink sink;
  pDevice->SetSink(&sink);
  const End end = RecordSpectrum(*pDevice, sink);
  pDevice->Shutdown();
  pDevice->Release();

  const char* pText = end == End::Finished ? "finished" : end == End::Cancelled ? "cancelled" : "failed";
  std::printf("%s, %zu points\n", pText, sink.m_nPoints.load());
  return end == End::Finished ? 0 : end == End::Cancelled ? 2 : 1;
}
