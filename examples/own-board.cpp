// A host that brings a board of its own, instead of the one of the board file.
//
// Everything that the library wants from its surroundings goes through a Board: threads and time, serial ports, pins,
// files, registry, debug output. A host may replace single services and pass the others on. This one measures with the
// virtual board, where a simulated instrument runs in virtual time: no instrument, no second program, and the minutes
// of a start-up pass at once. Two services are its own:
//
// - the debug output goes to the host's log;
// - the cuvette holder has no switches; the host says what is in it, since it has asked the person.
//
// For a real instrument, call platform::OpenDefaultBoard() and forward platform::CurrentBoard().
#include <atomic>
#include <cmath>
#include <cstdio>
#include <string>

#include "Instrument.h"
#include "photometer/EmptySink.h"
#include "photometer/IPhotometer.h"
#include "platform/Forwarding.h"
#include "platform/Platform.h"
#include "platform/virtual/VirtualBoard.h"
#include "simulator/Instrument.h"

namespace platform = photometer::platform;
using photometer::DWORD;

namespace {

// A service that does its own thing with what comes in. Any thread may call it.
class LogOutput final : public platform::DebugOutput {
 public:
  void Write(std::u16string_view text) override { std::fprintf(stderr, "log: %s\n", platform::ToUtf8(text).c_str()); }
};

// A service that passes on what it does not change: all but the switches stays with the board below.
class ToldCuvette final : public platform::ForwardingPins {
 public:
  using ForwardingPins::ForwardingPins;

  // The switches' pattern of a 10 mm cuvette is 0, 0, 1 at the pins 10, 11 and 12; without a cuvette all are 0.
  DWORD GetInput(platform::HANDLE, DWORD, DWORD dwPin) override { return m_bInserted && dwPin == 12 ? 1 : 0; }

  std::atomic<bool> m_bInserted = false;
};

class Sink final : public photometer::EmptySink {
 public:
  void OnResult(DWORD, const photometer::MeasureValues* pValues) override {
    m_Values.insert(m_Values.end(), pValues->begin(), pValues->end());
  }
  void OnReferenceValues(const std::vector<photometer::WavelengthCalibrationEntry>* pValues) override {
    m_Zeros = *pValues;
  }

  photometer::MeasureValues m_Values;
  std::vector<photometer::WavelengthCalibrationEntry> m_Zeros;
};

// On the virtual board a host waits through the layer, or virtual time would stand still.
void WaitUntilIdle(photometer::IPhotometer& device) {
  while (device.GetStatus().bBusy) {
    platform::Sleep(20);
  }
}

bool StartUp(photometer::IPhotometer& device) {
  const photometer::InstrumentSettings settings = example::LoadSettings();
  const photometer::PhotometerParameters params = example::ParametersOf(settings);
  const photometer::CalibrationData calibration = example::CalibrationOf(settings, {436, 525});
  if (device.Initialize(&params, &calibration) != photometer::S_OK) {
    return false;
  }
  WaitUntilIdle(device);
  return device.GetStatus().bInitialized != 0;
}

bool Measure(photometer::IPhotometer& device) {
  // The cuvette's size is asked for with the values.
  const photometer::MeasureRequest request{3, 340.0, 1, 0, 1, 0, 0, {436, 525}, {1, 2}};
  if (device.StartMeasure(&request) != photometer::S_OK) {
    return false;
  }
  WaitUntilIdle(device);
  return true;
}

// The library delivers light; what a sample absorbs, a host finds by comparing with the light without it. The start-up
// measured that, at the wavelengths that it was given, here the same as those of the request.
double Absorbance(const photometer::MeasureValue& value, const photometer::WavelengthCalibrationEntry& zero) {
  return -std::log10(value.dValue / value.dValueRef * zero.dValueRef / zero.dValue);
}

// What the library expects of the instrument's board: an optical unit, some folders, the lamps' counters.
void Furnish(platform::VirtualBoard& board, simulator::Instrument& instrument) {
  board.PlugPort(u"COM2:", instrument.unit, true);
  board.PlugPins(&instrument.holder);
  for (const char16_t* folder : {u"\\NANDFlash\\Logging", u"\\SDMemory", u"\\Application"}) {
    board.MakeFolder(folder);
  }
  board.SetRegistryValue(u"\\Veltranometrik", u"HalLamp", 0);
  board.SetRegistryValue(u"\\Veltranometrik", u"UVLamp", 0);
}

}  // namespace

int main() {
  simulator::Instrument instrument;
  platform::VirtualBoard below;
  Furnish(below, instrument);

  LogOutput log;
  ToldCuvette cuvette(below.GetPins());
  platform::ForwardingBoard board(below);
  board.Replace(static_cast<platform::DebugOutput&>(log));
  board.Replace(static_cast<platform::Pins&>(cuvette));
  platform::SetBoard(&board);  // before CreatePhotometer; it must outlive the device

  photometer::IPhotometer* pDevice = CreatePhotometer();
  if (pDevice == nullptr) {
    return 1;
  }
  Sink sink;
  pDevice->SetSink(&sink);
  bool bMeasured = StartUp(*pDevice);
  if (bMeasured) {
    // Where the person would insert the sample and press a key. The library looks at the switches each 20 ms, and
    // believes what stays.
    instrument.InsertCuvette(10, simulator::Sample::Dye("red", 0.8), below.Now());
    cuvette.m_bInserted = true;
    platform::Sleep(500);
    bMeasured = Measure(*pDevice);
  }
  pDevice->Shutdown();
  pDevice->Release();
  platform::SetBoard(nullptr);

  if (!bMeasured || sink.m_Values.size() != 2 || sink.m_Zeros.size() != 2) {
    return 1;
  }
  for (std::size_t nValue = 0; nValue < 2; ++nValue) {
    const photometer::MeasureValue& value = sink.m_Values[nValue];
    std::printf("%.0f nm: absorbance %.3f, cuvette of %d mm\n", value.dWavelength,
                Absorbance(value, sink.m_Zeros[nValue]), value.iCuvetteSize);
  }
  return 0;
}
