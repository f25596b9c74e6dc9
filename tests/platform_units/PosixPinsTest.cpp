#include <gtest/gtest.h>

#include "platform/posix/PosixPins.h"
#include "support/TemporaryFolder.h"

namespace photometer::platform {
namespace {

using tests::TemporaryFolder;

TEST(PosixPins, ReadsLevelsAndNothingElse) {
  const TemporaryFolder folder;
  PosixPins pins(folder.Path());
  const HANDLE handle = pins.OpenHandle();
  const std::pair<const char*, DWORD> cases[] = {
      {"0", 0}, {"1\r\n", 1}, {"", UnreadablePin}, {"2", UnreadablePin}, {"10", UnreadablePin}, {"\n1", UnreadablePin}};
  for (const char* file : {"pin10", "gpio10/value"}) {
    EXPECT_TRUE(pins.GetInput(handle, 3, 11) == UnreadablePin);
    for (const auto& [text, dwLevel] : cases) {
      folder.Write(file, text);
      EXPECT_EQ(pins.GetInput(handle, 3, 10), dwLevel) << file << testing::PrintToString(text);
    }
  }
  folder.MakeFolder("pin12");
  EXPECT_EQ(pins.GetInput(handle, 3, 12), UnreadablePin);
}

TEST(PosixPins, SetUpAndOutput) {
  const TemporaryFolder folder;
  PosixPins pins(folder.Path());
  const HANDLE handle = pins.OpenHandle();
  for (const DWORD dwLevel : {1U, 0U}) {
    EXPECT_TRUE(pins.SetupPin(handle, 0, 9, 1));
    EXPECT_TRUE(pins.SetOutput(handle, 0, 9, dwLevel));
    EXPECT_EQ(folder.Read("pin9"), std::to_string(dwLevel) + "\n");
  }

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

TEST(PosixPins, FoldersThatAreNotThere) {
  const TemporaryFolder folder;
  folder.Write("pin10", "1");
  for (const std::string& path : {std::string(), folder.At("absent"), folder.At("pin10")}) {
    EXPECT_EQ(PosixPins(path).OpenHandle(), INVALID_HANDLE_VALUE) << path;
  }
}

}  // namespace
}  // namespace photometer::platform
