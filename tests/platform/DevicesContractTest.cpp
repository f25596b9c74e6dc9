#include "BoardContract.h"

namespace contract {
namespace {

class DevicesContract : public BoardContract {};

constexpr DWORD InputPort = 3;

TEST_P(DevicesContract, InputPinsFollowTheirLevels) {
  const HANDLE hGpio = GpioOpenHandle();
  ASSERT_NE(hGpio, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(GpioSetupPin(hGpio, 2, 22, 0));
  EXPECT_TRUE(GpioSetupPin(hGpio, 0, 9, 1));
  EXPECT_TRUE(GpioSetOutput(hGpio, 0, 9, 1));
  for (const DWORD dwPin : {10U, 11U, 12U}) {
    EXPECT_EQ(GpioGetInput(hGpio, InputPort, dwPin), 0U);
    m_pWorld->SetPin(dwPin, 1);
    EXPECT_EQ(GpioGetInput(hGpio, InputPort, dwPin), 1U);
  }
  m_pWorld->SetPin(11, 0);
  EXPECT_EQ(GpioGetInput(hGpio, InputPort, 11), 0U);
  EXPECT_EQ(GpioGetInput(hGpio, InputPort, 12), 1U);
  EXPECT_GT(GpioGetInput(hGpio, InputPort, 13), 1U);
  EXPECT_TRUE(GpioCloseHandle(hGpio));
}

TEST_P(DevicesContract, AClosedPinHandleIsRefused) {
  const HANDLE hGpio = GpioOpenHandle();
  EXPECT_TRUE(GpioCloseHandle(hGpio));
  for (const HANDLE handle : {hGpio, HANDLE{0}, INVALID_HANDLE_VALUE}) {
    EXPECT_FALSE(GpioCloseHandle(handle));
    EXPECT_FALSE(GpioSetupPin(handle, 2, 22, 0));
    EXPECT_FALSE(GpioSetOutput(handle, 0, 9, 1));
    EXPECT_EQ(GpioGetInput(handle, InputPort, 10), UnreadablePin);
  }
}

TEST_P(DevicesContract, TheRegistryKeepsItsValuesUnderEachHandle) {
  HANDLE hKey = 0;
  HANDLE hClosed = 0;
  DWORD dwValue = 0;
  DWORD dwExpected = 5;
  EXPECT_EQ(RegOpenKeyExW(u"\\Missing", &hKey), ERROR_FILE_NOT_FOUND);
  for (const DWORD dwNew : {0U, 3'601U, 0xFFFFFFFFU}) {
    ASSERT_EQ(RegOpenKeyExW(u"\\Veltranometrik", &hKey), ERROR_SUCCESS);
    EXPECT_NE(hKey, hClosed);
    EXPECT_EQ(RegQueryValueExW(hKey, u"HalLamp", &dwValue), ERROR_SUCCESS);
    EXPECT_EQ(dwValue, dwExpected);
    EXPECT_EQ(RegSetValueExW(hKey, u"HalLamp", dwNew), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(hKey, u"HalLamp", &dwValue), ERROR_SUCCESS);
    EXPECT_EQ(dwValue, dwNew);
    EXPECT_NE(RegQueryValueExW(hKey, u"Missing", &dwValue), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(hKey), ERROR_SUCCESS);
    EXPECT_NE(RegQueryValueExW(hKey, u"HalLamp", &dwValue), ERROR_SUCCESS);
    EXPECT_NE(RegSetValueExW(hKey, u"HalLamp", 1), ERROR_SUCCESS);
    EXPECT_NE(RegCloseKey(hKey), ERROR_SUCCESS);
    hClosed = hKey;
    dwExpected = dwNew;
  }
}

TEST_P(DevicesContract, DebugOutputIsTheTextAsItIs) {
  NKDbgPrintfW("[%s] %d %%.\n\r", "Photometer", 7);
  NKDbgPrintW(u"L\u00E4uft 100%.\n\r");
  EXPECT_EQ(m_pWorld->DebugText(), "[Photometer] 7 %.\n\rL\u00E4uft 100%.\n\r");
}

TEST_P(DevicesContract, TheCalendarIsPlausibleAndMovesOn) {
  SYSTEMTIME before{};
  SYSTEMTIME after{};
  GetLocalTime(&before);
  Sleep(30);
  GetLocalTime(&after);
  EXPECT_GE(before.wYear, 2024);
  EXPECT_TRUE(before.wMonth >= 1 && before.wMonth <= 12 && before.wDay >= 1 && before.wDay <= 31);
  EXPECT_TRUE(before.wDayOfWeek < 7 && before.wHour < 24 && before.wMinute < 60 && before.wSecond < 61);
  EXPECT_NE(before.wSecond * 1'000 + before.wMilliseconds, after.wSecond * 1'000 + after.wMilliseconds);
}

INSTANTIATE_TEST_SUITE_P(Boards, DevicesContract, AllBoards(), BoardName);

}  // namespace
}  // namespace contract
