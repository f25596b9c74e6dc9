#include <gtest/gtest.h>

#include "TemporaryFolder.h"
#include "platform/posix/PosixPins.h"

namespace photometer::platform {
namespace {

TEST(PosixPins, ReadsLevelsAndNothingElse) {
  const TemporaryFolder folder;
  PosixPins pins(folder.Path());
  const HANDLE handle = pins.OpenHandle();
  const struct {
    const char* text;
    DWORD dwLevel;
  } cases[] = {{"0", 0},
               {"1", 1},
               {"0\n", 0},
               {"1\r\n", 1},
               {"", UnreadablePin},
               {"2", UnreadablePin},
               {"10", UnreadablePin},
               {"high", UnreadablePin},
               {"\n1", UnreadablePin}};
  for (const char* file : {"pin10", "gpio10/value"}) {
    EXPECT_TRUE(pins.GetInput(handle, 3, 11) == UnreadablePin);
    for (const auto& test : cases) {
      folder.Write(file, test.text);
      EXPECT_EQ(pins.GetInput(handle, 3, 10), test.dwLevel) << file << testing::PrintToString(test.text);
    }
  }
  folder.MakeFolder("pin12");
  EXPECT_EQ(pins.GetInput(handle, 3, 12), UnreadablePin);
}

TEST(PosixPins, SetUpAndOutput) {
  const TemporaryFolder folder;
  PosixPins pins(folder.Path());
  const HANDLE handle = pins.OpenHandle();
  EXPECT_TRUE(pins.SetupPin(handle, 2, 22, 0));
  EXPECT_TRUE(pins.SetupPin(handle, 0, 9, 1));
  EXPECT_TRUE(pins.SetOutput(handle, 0, 9, 1));
  EXPECT_EQ(folder.Read("pin9"), "1\n");
  EXPECT_TRUE(pins.SetOutput(handle, 0, 9, 0));
  EXPECT_EQ(folder.Read("pin9"), "0\n");

  folder.Write("gpio9/value", "");
  folder.Write("gpio9/direction", "");
  EXPECT_TRUE(pins.SetupPin(handle, 0, 9, 1));
  EXPECT_TRUE(pins.SetOutput(handle, 0, 9, 1));
  EXPECT_EQ(folder.Read("gpio9/direction"), "out\n");
  EXPECT_EQ(folder.Read("gpio9/value"), "1\n");
  EXPECT_EQ(folder.Read("pin9"), "0\n");

  folder.MakeFolder("pin13");
  EXPECT_FALSE(pins.SetOutput(handle, 0, 13, 1));
}

TEST(PosixPins, HandlesAndFoldersThatAreNotThere) {
  const TemporaryFolder folder;
  folder.Write("pin10", "1");
  EXPECT_EQ(PosixPins("").OpenHandle(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(PosixPins(folder.At("absent")).OpenHandle(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(PosixPins(folder.At("pin10")).OpenHandle(), INVALID_HANDLE_VALUE);

  PosixPins pins(folder.Path());
  const HANDLE handle = pins.OpenHandle();
  EXPECT_TRUE(pins.CloseHandle(handle));
  EXPECT_FALSE(pins.CloseHandle(handle));
  for (const HANDLE wrong : {handle, HANDLE{0}, INVALID_HANDLE_VALUE}) {
    EXPECT_EQ(pins.GetInput(wrong, 3, 10), UnreadablePin);
    EXPECT_FALSE(pins.SetupPin(wrong, 0, 9, 1));
    EXPECT_FALSE(pins.SetOutput(wrong, 0, 9, 1));
  }
  EXPECT_FALSE(std::filesystem::exists(folder.At("pin9")));
}

}  // namespace
}  // namespace photometer::platform
