// The transcript of a small run, line by line, and the faults of the world around it.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "platform/TracingBoard.h"

namespace virtualtest {
namespace {

using testing::ElementsAre;

struct ChangingPins final : simulator::PinSource {
  std::uint32_t ReadPin(simulator::Time now, std::uint32_t /*pin*/) override { return now < 10'000 ? 0 : 1; }
};

TEST(TracingBoardTest, NotesWhatGoesInAndOut) {
  OnVirtualBoard world;
  Transcript transcript;
  std::ostringstream stream;
  transcript.WriteTo(&stream);
  TracingBoard tracing(world.board, transcript);
  SetBoard(&tracing);
  ScriptedDevice device;
  device.Say(5'000, "o\\k\r\x02");
  ChangingPins pins;
  world.board.PlugPort(u"COM2:", device, true);
  world.board.PlugPins(&pins);
  const HANDLE hPort = CreateFileW(u"COM2:");
  const HANDLE hGpio = GpioOpenHandle();
  HANDLE hKey = 0;
  RegOpenKeyExW(u"\\Veltranometrik", &hKey);

  DWORD dwCount = 0;
  std::array<char, 16> block{};
  WriteFile(hPort, "$v\r", 3, &dwCount);
  GpioSetOutput(hGpio, 0, 9, 1);
  GpioGetInput(hGpio, 3, 10);
  ReadFile(hPort, block.data(), 16, &dwCount);
  GpioGetInput(hGpio, 3, 10);
  Sleep(5);
  GpioGetInput(hGpio, 3, 10);
  AppendFileW(u"\\NANDFlash\\Logging\\Photometer.log", "line\r\n");
  AppendFileW(u"\\SDMemory\\ErrorCodeList.csv", "1;2\r\n");
  AppendFileW(u"\\NoFolder\\x", "never");
  RegSetValueExW(hKey, u"HalLamp", 30);
  NKDbgPrintfW("[Photometer] text\n\r");

  RegCloseKey(hKey);
  GpioCloseHandle(hGpio);
  CloseHandle(hPort);
  EXPECT_THAT(transcript.Lines(),
              ElementsAre("0.000\tCOM2>\t$v\\x0D", "0.000\tpin\tout 0/9 = 1", "0.000\tpin\tin 3/10 = 0",
                          // Four idle characters at the 9600 baud of power-on.
                          "9.167\tCOM2<\to\\x5Ck\\x0D\\x02", "14.167\tpin\tin 3/10 = 1", "14.167\tlog\tline",
                          "14.167\tlog\tErrorCodeList.csv: 1;2", "14.167\tregistry\tHalLamp = 30",
                          "14.167\tdebug\t[Photometer] text"));
  EXPECT_THAT(transcript.Texts("pin"), ElementsAre("out 0/9 = 1", "in 3/10 = 0", "in 3/10 = 1"));
  EXPECT_EQ(std::ranges::count(stream.str(), '\n'), 9);
  EXPECT_EQ(world.board.PinOutput(0, 9), 1U);
}

}  // namespace
}  // namespace virtualtest
