#include <string>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/ReceiveBuffer.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

std::string Collect(ReceiveBuffer& buffer) {
  std::string bytes = "before ";
  buffer.CollectReceived(bytes);
  return bytes.substr(7);
}

TEST(ReceiveBuffer, GivesAllAtOnceAndThenNothing) {
  World world;
  DeviceState state;
  ReceiveBuffer buffer(state);
  buffer.Append("o");
  buffer.Append("k");
  EXPECT_EQ(Collect(buffer), "ok");
  EXPECT_EQ(Collect(buffer), "");
}

TEST(ReceiveBuffer, ClearForgetsBytesAndSignal) {
  World world;
  DeviceState state;
  ReceiveBuffer buffer(state);
  buffer.Signal();  // without an event: harmless
  EXPECT_TRUE(buffer.CreateDataEvent());
  buffer.Append("late");
  buffer.Signal();
  buffer.Clear();
  EXPECT_EQ(WaitForSingleObject(buffer.DataEvent(), 0), WAIT_TIMEOUT);
  EXPECT_EQ(Collect(buffer), "");
}

TEST(ReceiveBuffer, KeepsTheNewestAndReportsTheFirstDropOnly) {
  World world;
  DeviceState state;
  ReceiveBuffer buffer(state);
  EXPECT_FALSE(buffer.Append(std::string(ReceiveBuffer::CAPACITY, 'a')));
  EXPECT_FALSE(buffer.Overflowed());
  EXPECT_TRUE(buffer.Append("b"));
  EXPECT_TRUE(buffer.Overflowed());
  EXPECT_FALSE(buffer.Append(std::string(ReceiveBuffer::CAPACITY, 'c') + "d"));
  const std::string kept = Collect(buffer);
  EXPECT_LE(kept.size(), ReceiveBuffer::CAPACITY);
  EXPECT_TRUE(kept.ends_with("cd"));
  buffer.Clear();
  EXPECT_FALSE(buffer.Overflowed());
  // A new start of the device reports again.
  EXPECT_TRUE(buffer.CreateDataEvent());
  EXPECT_TRUE(buffer.Append(std::string(ReceiveBuffer::CAPACITY + 1, 'e')));
}

TEST(ReceiveBuffer, EventThatCannotBeCreated) {
  World world;
  DeviceState state;
  ReceiveBuffer buffer(state);
  world.kernel.events.Start(1);
  EXPECT_FALSE(buffer.CreateDataEvent());
  EXPECT_EQ(buffer.DataEvent(), 0U);
}

}  // namespace
}  // namespace photometer::tests
