#include <string>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/ReceiveBuffer.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

/// A buffer of a device.
struct Bench {
  World world;
  DeviceState state;
  ReceiveBuffer buffer{state};

  std::string Collect() {
    std::string bytes = "before ";
    buffer.CollectReceived(bytes);
    return bytes.substr(7);
  }
};

TEST(ReceiveBuffer, GivesAllAtOnceAndForgetsOnDemand) {
  Bench bench;
  bench.buffer.Signal();  // without an event: harmless
  bench.world.kernel.events.Start(1);
  EXPECT_FALSE(bench.buffer.CreateDataEvent());
  EXPECT_TRUE(bench.buffer.CreateDataEvent());
  bench.buffer.Append("o");
  bench.buffer.Append("k");
  EXPECT_EQ(bench.Collect(), "ok");
  EXPECT_EQ(bench.Collect(), "");
  bench.buffer.Append("late");
  bench.buffer.Signal();
  bench.buffer.Clear();
  EXPECT_EQ(WaitForSingleObject(bench.buffer.DataEvent(), 0), WAIT_TIMEOUT);
  EXPECT_EQ(bench.Collect(), "");
}

TEST(ReceiveBuffer, KeepsTheNewestAndReportsTheFirstDropOnly) {
  Bench bench;
  EXPECT_FALSE(bench.buffer.Append(std::string(ReceiveBuffer::CAPACITY, 'a')));
  EXPECT_FALSE(bench.buffer.Overflowed());
  EXPECT_TRUE(bench.buffer.Append("b"));
  EXPECT_TRUE(bench.buffer.Overflowed());
  EXPECT_FALSE(bench.buffer.Append(std::string(ReceiveBuffer::CAPACITY, 'c') + "d"));
  const std::string kept = bench.Collect();
  EXPECT_LE(kept.size(), ReceiveBuffer::CAPACITY);
  EXPECT_TRUE(kept.ends_with("cd"));
  bench.buffer.Clear();
  EXPECT_FALSE(bench.buffer.Overflowed());
  EXPECT_TRUE(bench.buffer.CreateDataEvent());  // a new start of the device reports again
  EXPECT_TRUE(bench.buffer.Append(std::string(ReceiveBuffer::CAPACITY + 1, 'e')));
}

}  // namespace
}  // namespace photometer::tests
