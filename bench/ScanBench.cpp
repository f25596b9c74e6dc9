/// What a spectrum costs the host: points through decoding and delivery, the plan, and the list of wavelengths.
#include <charconv>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "device/Instrument.h"
#include "optics/PointStream.h"
#include "photometer/EmptySink.h"
#include "platform/virtual/VirtualBoard.h"
#include "procedures/Scan.h"
#include "procedures/ScanPlan.h"

namespace {

using namespace photometer;

/// Bytes that the port's reader takes at once.
constexpr std::size_t Block = 192;
constexpr DWORD FirstPosition = 2000;
constexpr DWORD FewPoints = 1'000;
constexpr DWORD ManyPoints = 12'500;

/// An optical unit that answers everything at once, and streams without noise.
class FastUnit final : public simulator::SerialDevice {
 public:
  void Receive(simulator::Time, std::string_view bytes) override {
    for (const char byte : bytes) {
      m_strLine += byte;
      if (byte == '\r') {
        Answer();
        m_strLine.clear();
      }
    }
  }
  [[nodiscard]] simulator::Time NextActivity() const override { return m_strOutput.empty() ? simulator::Never : 0; }
  std::string TakeOutput(simulator::Time) override { return std::exchange(m_strOutput, {}); }

 private:
  void Answer() {
    int iArgument = 0;
    std::from_chars(m_strLine.data() + 2, m_strLine.data() + m_strLine.size(), iArgument);
    switch (m_strLine[1]) {
      case 's':
        m_strOutput.append(static_cast<std::size_t>(iArgument - m_iPosition) * READING_BYTES, '\x07');
        m_strOutput += "ok\r";
        m_iPosition = iArgument;
        return;
      case 'a':
        m_strOutput.append(3 * READING_BYTES, '\x01');
        return;
      case 'M':
        m_iPosition = iArgument;
        break;
      default:
        break;
    }
    m_strOutput += "ok\r\n";
  }

  std::string m_strLine;
  std::string m_strOutput;
  int m_iPosition = 0;
};

class CountingSink final : public EmptySink {
 public:
  void OnResult(DWORD, const MeasureValues* pValues) override { m_nValues += pValues->size(); }
  [[nodiscard]] std::size_t Values() const { return m_nValues; }

 private:
  std::size_t m_nValues = 0;
};

/// The parts of a device on a virtual board, ready to scan.
class ScanningDevice {
 public:
  ScanningDevice() : m_pBefore(SetBoard(&m_Board)), m_pInstrument(Instrument::Create()) {
    m_Board.PlugPort(u"COM2:", m_Unit, true);
    m_pInstrument->sink.SetSink(&m_Sink);
    m_pInstrument->state.Lock()->m_Params = Parameters();
    const bool bReady = m_pInstrument->model.BuildTable() && m_pInstrument->opticalBuffer.CreateDataEvent() &&
                        m_pInstrument->state.CreateEvents() && m_pInstrument->link.OpenOpticalPort();
    if (!bReady) {
      throw std::runtime_error("the device cannot be brought up");
    }
  }
  ~ScanningDevice() {
    m_pInstrument->state.RaiseStop();
    m_pInstrument->threads.WaitUntilEnded(3000);
    m_pInstrument->link.CloseOpticalPort();
    m_pInstrument->opticalBuffer.CloseDataEvent();
    m_pInstrument.reset();
    SetBoard(m_pBefore);
  }
  ScanningDevice(const ScanningDevice&) = delete;
  ScanningDevice& operator=(const ScanningDevice&) = delete;

  Instrument& Parts() { return *m_pInstrument; }
  /// The first so many positions, and up to four more, which a scan adds where the table does not end.
  ScanRequest RequestFor(DWORD dwPoints) {
    const PhotometerParameters params = Parameters();
    const double dEnd = WavelengthOfPosition(params, FirstPosition + dwPoints - 1);
    return {1, WavelengthOfPosition(params, FirstPosition), dEnd, 340.0, 0, FALSE, FALSE};
  }
  std::size_t Scan(const ScanRequest& request) {
    {
      const auto state = m_pInstrument->state.Lock();
      state->m_ScanRequest = request;
      state->m_Status.bBusy = TRUE;
    }
    const std::size_t nBefore = m_Sink.Values();
    Instrument& i = *m_pInstrument;
    photometer::Scan(i.state, i.sink, i.link, i.unit, i.detectors, i.model, i.pumps, i.end).ScanProc();
    return m_Sink.Values() - nBefore;
  }

 private:
  static PhotometerParameters Parameters() {
    PhotometerParameters params{};
    params.dA = -0.00004438;
    params.dB = -0.18985745;
    params.dC = 89325.07932532;
    params.dD = -1771912.20088685;
    params.UpperFilterWL = 550;
    params.MiddleFilterWL = 450;
    params.LowerFilterWL = 375;
    return params;
  }

  FastUnit m_Unit;
  VirtualBoard m_Board;
  Board* m_pBefore;
  CountingSink m_Sink;
  std::shared_ptr<Instrument> m_pInstrument;
};

/// Decoding alone.
void PointsThroughTheDecoder(benchmark::State& state) {
  const auto dwPoints = static_cast<DWORD>(state.range(0));
  const std::string bytes(dwPoints * READING_BYTES + PointStream::END_BYTES, '\x07');
  std::vector<Reading> points;
  for (auto _ : state) {
    PointStream stream(dwPoints);
    points.clear();
    for (std::size_t n = 0; n < bytes.size(); n += Block) {
      stream.Take(std::string_view(bytes).substr(n, Block), &points);
    }
    if (points.size() != dwPoints) {
      state.SkipWithError("points were lost");
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(PointsThroughTheDecoder)->Arg(FewPoints)->Arg(ManyPoints)->Unit(benchmark::kMicrosecond);

/// A whole fine scan: plan, settings, reader thread, decoding, delivery, log; the virtual board included.
void PointsToTheHost(benchmark::State& state) {
  ScanningDevice device;
  const ScanRequest request = device.RequestFor(static_cast<DWORD>(state.range(0)));
  std::size_t nPoints = 0;
  for (auto _ : state) {
    nPoints += device.Scan(request);
  }
  state.counters["points"] = static_cast<double>(nPoints) / static_cast<double>(state.iterations());
  state.SetItemsProcessed(static_cast<std::int64_t>(nPoints));
}
BENCHMARK(PointsToTheHost)->Arg(FewPoints)->Arg(ManyPoints)->Unit(benchmark::kMillisecond);

void Planning(benchmark::State& state) {
  const ScanRequest request{1, 190.0, 1100.0, 340.0, 0, state.range(0) != 0 ? TRUE : FALSE, FALSE};
  const ScanPositions positions{2161, 14183, 3887, 4297, 5184, 6394, 11018, 12524};
  for (auto _ : state) {
    benchmark::DoNotOptimize(PlanScan(request, TRUE, positions));
  }
}
BENCHMARK(Planning)->ArgName("coarse")->Arg(0)->Arg(1)->Unit(benchmark::kNanosecond);

/// The list of the whole table, as a scan builds it.
void WavelengthList(benchmark::State& state) {
  ScanningDevice device;
  const ScanRequest request = device.RequestFor(ManyPoints);
  std::vector<double> wavelengths;
  for (auto _ : state) {
    device.Parts().model.GetTableWavelengths(request.m_dStartWavelength, request.m_dEndWavelength, &wavelengths);
    if (wavelengths.size() != ManyPoints) {
      state.SkipWithError("wavelengths are missing");
    }
  }
}
BENCHMARK(WavelengthList)->Unit(benchmark::kMicrosecond);

}  // namespace
