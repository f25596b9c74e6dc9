#include <gtest/gtest.h>

#include "simulator/Instrument.h"

namespace simulator {
namespace {

constexpr Time Second = 1'000'000;
constexpr double Offered = 0.8;

/// An instrument with a pump, its flow cuvette, and a sample at the end of its tube.
struct DrawingBench {
  explicit DrawingBench(PumpKind pump) : instrument({.strayLight = 0.0}, 0, pump) {
    instrument.InsertFlowCuvette(0);
    instrument.flowCell.Offer(0, Sample::NeutralGlass(Offered));
  }
  /// Lets the device at a port hear a frame.
  void Tell(Time at, const std::string& text) {
    SerialDevice& port = instrument.pump == PumpKind::ZQ410 ? instrument.AtExternalPort() : instrument.zq420;
    port.TakeOutput(at);
    port.Receive(at, "\x02" + text + "\x03");
  }
  [[nodiscard]] double At(Time at) const { return instrument.unit.ApparentAbsorbance(500.0, at); }

  Instrument instrument;
};

TEST(FlowCell, ZQ410FillsItWithinTheTimeOfItsTube) {
  DrawingBench bench(PumpKind::ZQ410);
  bench.Tell(1 * Second, "H;003;120");
  EXPECT_EQ(bench.At(5 * Second), 0.0) << "parameters move nothing";
  bench.Tell(10 * Second, "H1;a");
  EXPECT_EQ(bench.At(12 * Second - 1000), 0.0);
  EXPECT_NEAR(bench.At(12 * Second + 10'000), Offered, 1e-9);
  bench.Tell(30 * Second, "H2;a");
  EXPECT_NEAR(bench.At(60 * Second), 0.0, 1e-9) << "a flush rinses it with water";
  bench.instrument.zq410.PressKeyB(70 * Second);
  EXPECT_NEAR(bench.At(80 * Second), Offered, 1e-9);
}

TEST(FlowCell, ShortCyclesAddUp) {
  DrawingBench bench(PumpKind::ZQ420);
  bench.Tell(10 * Second, "s");
  bench.Tell(11 * Second, "e");
  EXPECT_EQ(bench.At(19 * Second), 0.0);
  bench.Tell(20 * Second, "s");
  EXPECT_NEAR(bench.At(21 * Second + 10'000), Offered, 1e-9);
  bench.Tell(25 * Second, "e");
  bench.instrument.flowCell.Offer(26 * Second, Sample::NeutralGlass(0.3));
  EXPECT_NEAR(bench.At(30 * Second), Offered, 1e-9) << "nothing has been drawn of the other sample";
  bench.Tell(31 * Second, "s");
  EXPECT_NEAR(bench.At(33 * Second), 0.3, 1e-9);
}

TEST(FlowCell, KeepsWhatItHasWhenTheCycleFails) {
  for (const PumpKind pump : {PumpKind::ZQ410, PumpKind::ZQ420}) {
    const char* start = pump == PumpKind::ZQ410 ? "H1;a" : "s";
    for (const FaultKind kind : {FaultKind::Error, FaultKind::Silence}) {
      DrawingBench bench(pump);
      bench.instrument.PumpLine()->Faults().Add({.kind = kind, .count = 3});
      bench.Tell(10 * Second, start);
      EXPECT_EQ(bench.At(60 * Second), 0.0);
    }
  }
}

}  // namespace
}  // namespace simulator
