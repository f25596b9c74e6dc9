#include <algorithm>
#include <string>
#include <vector>

#include "BoardContract.h"

namespace contract {
namespace {

constexpr DWORD MostBytes = 192;
constexpr DWORD EventMask = 0x20C3;
constexpr COMMTIMEOUTS UsualTimeouts{1, 1, 1, 1, 1};
/// Reads end by the interval, by a full buffer or not at all.
constexpr COMMTIMEOUTS PatientTimeouts{1, 0, OneMinute, 0, OneMinute};

class SerialPortsContract : public BoardContract {
 protected:
  static HANDLE OpenPort(const char16_t* name, const COMMTIMEOUTS& timeouts) {
    const HANDLE hPort = CreateFileW(name);
    EXPECT_NE(hPort, INVALID_HANDLE_VALUE);
    DCB state{};
    EXPECT_TRUE(GetCommState(hPort, &state));
    state = {DCB_LENGTH, 115'200, 0, 8, NOPARITY, ONESTOPBIT};
    EXPECT_TRUE(SetCommState(hPort, &state));
    EXPECT_TRUE(SetCommMask(hPort, EventMask));
    EXPECT_TRUE(SetCommTimeouts(hPort, &timeouts));
    return hPort;
  }

  struct ReadResult {
    bool bDone;
    std::string bytes;
  };
  static ReadResult ReadSome(HANDLE hPort, DWORD dwBytes = MostBytes) {
    std::string bytes(dwBytes, '\0');
    DWORD dwRead = 0;
    const bool bDone = ReadFile(hPort, bytes.data(), dwBytes, &dwRead) != FALSE;
    bytes.resize(dwRead);
    return {bDone, bytes};
  }

  static std::string ReadAll(HANDLE hPort, std::size_t nBytes) {
    std::string all;
    while (all.size() < nBytes) {
      const auto [bDone, bytes] = ReadSome(hPort);
      EXPECT_TRUE(bDone);
      if (!bDone || bytes.empty()) break;
      all += bytes;
    }
    return all;
  }

  static bool WriteAll(HANDLE hPort, const std::string& bytes) {
    DWORD dwWritten = 0;
    const bool bDone = WriteFile(hPort, bytes.data(), static_cast<DWORD>(bytes.size()), &dwWritten) != FALSE;
    return bDone && dwWritten == bytes.size();
  }

  static void ExpectEveryCallFails(HANDLE hPort) {
    DCB state{DCB_LENGTH, 9'600, 0, 8, NOPARITY, ONESTOPBIT};
    EXPECT_FALSE(ReadSome(hPort).bDone);
    EXPECT_FALSE(WriteAll(hPort, "x"));
    EXPECT_FALSE(GetCommState(hPort, &state));
    EXPECT_FALSE(SetCommState(hPort, &state));
    EXPECT_FALSE(SetCommMask(hPort, EventMask));
    EXPECT_FALSE(SetCommTimeouts(hPort, &UsualTimeouts));
    EXPECT_FALSE(PurgeComm(hPort, 0));
  }
};

std::string EveryByte() {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  return bytes;
}

TEST_P(SerialPortsContract, APortIsOpenOnceAtATime) {
  const HANDLE hPort = CreateFileW(u"COM2:");
  ASSERT_NE(hPort, INVALID_HANDLE_VALUE);
  EXPECT_EQ(CreateFileW(u"COM2:"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(CreateFileW(u"COM9:"), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(CloseHandle(hPort));
  const HANDLE hAgain = CreateFileW(u"COM2:");
  EXPECT_NE(hAgain, INVALID_HANDLE_VALUE);
  EXPECT_NE(hAgain, hPort);
  EXPECT_TRUE(CloseHandle(hAgain));
}

TEST_P(SerialPortsContract, SettingsAreKeptAndImpossibleOnesRefused) {
  const HANDLE hPort = OpenPort(u"COM2:", UsualTimeouts);
  const DCB seven{DCB_LENGTH, 19'200, DCB_CHECK_PARITY, 7, 2, 2};
  EXPECT_TRUE(SetCommState(hPort, &seven));
  for (const DCB& wrong :
       {DCB{DCB_LENGTH, 0, 0, 8, 0, 0}, DCB{DCB_LENGTH, 9'600, 0, 4, 0, 0}, DCB{DCB_LENGTH, 9'600, 0, 9, 0, 0},
        DCB{DCB_LENGTH, 9'600, 0, 8, 3, 0}, DCB{DCB_LENGTH, 9'600, 0, 8, 0, 3}}) {
    EXPECT_FALSE(SetCommState(hPort, &wrong)) << wrong.BaudRate << ' ' << +wrong.ByteSize << ' ' << +wrong.Parity;
  }
  DCB state{};
  EXPECT_TRUE(GetCommState(hPort, &state));
  EXPECT_EQ(state.BaudRate, seven.BaudRate);
  EXPECT_EQ(state.Flags & DCB_CHECK_PARITY, DCB_CHECK_PARITY);
  EXPECT_EQ(state.ByteSize, seven.ByteSize);
  EXPECT_EQ(state.Parity, seven.Parity);
  EXPECT_EQ(state.StopBits, seven.StopBits);
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, AReadOfAnEmptyLineEndsWithoutBytesAfterMultiplierTimesBytesAndConstant) {
  for (const char16_t* name : {u"COM2:", u"COM1:"}) {
    const HANDLE hPort = OpenPort(name, UsualTimeouts);
    const std::uint64_t nStart = Microseconds();
    const auto [bDone, bytes] = ReadSome(hPort);
    EXPECT_TRUE(bDone);
    EXPECT_EQ(bytes, "");
    EXPECT_GE(Microseconds() - nStart, 193'000U);
    CloseHandle(hPort);
  }
}

TEST_P(SerialPortsContract, ASilentIntervalEndsARead) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  m_pWorld->Peer().Send("$v\r");
  EXPECT_EQ(ReadAll(hPort, 3), "$v\r");
  m_pWorld->Peer().Send("ok");
  EXPECT_EQ(ReadAll(hPort, 2), "ok");
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, WithoutAnIntervalTheTotalTimeCutsAReadThatHasBytes) {
  const HANDLE hPort = OpenPort(u"COM2:", {0, 0, 50, 0, 50});
  const std::uint64_t nStart = Microseconds();
  m_pWorld->Peer().Send("ok");
  EXPECT_EQ(ReadSome(hPort).bytes, "ok");
  EXPECT_GE(Microseconds() - nStart, 50'000U);
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, AFullBufferEndsARead) {
  const HANDLE hPort = OpenPort(u"COM2:", {OneMinute, 0, OneMinute, 1, 1});
  m_pWorld->Peer().Send("12345678");
  EXPECT_EQ(ReadSome(hPort, 5).bytes, "12345");
  EXPECT_EQ(ReadSome(hPort, 3).bytes, "678");
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, AReadOfAnAtOncePortEndsWithTheFirstBytes) {
  const HANDLE hPort = OpenPort(u"COM1:", {OneMinute, 0, OneMinute, 1, 1});
  {
    const Thread sender([&] {
      Sleep(AWhile);
      m_pWorld->AtOncePeer().Send("ok");
    });
    EXPECT_EQ(ReadAll(hPort, 2), "ok");
  }
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, EveryByteValuePassesUnchangedBothWays) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  m_pWorld->Peer().Send(EveryByte());
  EXPECT_EQ(ReadAll(hPort, 256), EveryByte());
  EXPECT_TRUE(WriteAll(hPort, EveryByte()));
  EXPECT_EQ(m_pWorld->Peer().Receive(256), EveryByte());
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, ALongStreamArrivesWholeAndInOrderWhileOthersWrite) {
  constexpr std::size_t nPieces = 40;
  std::string sent;
  for (std::size_t i = 0; i < nPieces; ++i) sent += std::to_string(i) + std::string(i * 5, '.');
  for (const char16_t* name : {u"COM2:", u"COM1:"}) {
    SerialPeer& peer = name[3] == u'1' ? m_pWorld->AtOncePeer() : m_pWorld->Peer();
    const HANDLE hPort = OpenPort(name, PatientTimeouts);
    {
      const Thread sender([&] {
        for (std::size_t nPosition = 0, nLength = 1; nPosition < sent.size(); nPosition += nLength++) {
          peer.Send(std::string_view(sent).substr(nPosition, nLength));
        }
      });
      const Thread writer([&] {
        for (std::size_t i = 0; i < nPieces; ++i) EXPECT_TRUE(WriteAll(hPort, "$s1\r"));
      });
      EXPECT_EQ(ReadAll(hPort, sent.size()), sent);
    }
    EXPECT_EQ(peer.Receive(4 * nPieces).size(), 4 * nPieces);
    CloseHandle(hPort);
  }
}

TEST_P(SerialPortsContract, AWriteGoesOutWhileAReadWaits) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  {
    const Thread reader([&] { EXPECT_EQ(ReadAll(hPort, 2), "ok"); });
    Sleep(AWhile);
    EXPECT_TRUE(WriteAll(hPort, "$v\r"));
    EXPECT_EQ(m_pWorld->Peer().Receive(3), "$v\r");
    m_pWorld->Peer().Send("ok");
  }
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, PurgeDiscardsWhatItsFlagsSay) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  m_pWorld->Peer().Send("kept");
  Sleep(AWhile);
  EXPECT_TRUE(PurgeComm(hPort, 0));
  EXPECT_EQ(ReadAll(hPort, 4), "kept");
  m_pWorld->Peer().Send("old");
  Sleep(AWhile);
  EXPECT_TRUE(PurgeComm(hPort, 8));
  m_pWorld->Peer().Send("new");
  EXPECT_EQ(ReadAll(hPort, 3), "new");
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, CloseEndsAReadThatWaits) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  {
    const Thread reader([&] { EXPECT_FALSE(ReadSome(hPort).bDone); });
    Sleep(AWhile);
    EXPECT_TRUE(CloseHandle(hPort));
    const HANDLE hAgain = CreateFileW(u"COM2:");
    EXPECT_NE(hAgain, INVALID_HANDLE_VALUE) << "the reader may still be on its way out";
    CloseHandle(hAgain);
  }
  ExpectEveryCallFails(hPort);
  EXPECT_FALSE(CloseHandle(hPort));
}

TEST_P(SerialPortsContract, ADeviceThatVanishesFailsTheReadThatWaitsAndEveryLaterCall) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  {
    const Thread reader([&] { EXPECT_FALSE(ReadSome(hPort).bDone); });
    Sleep(AWhile);
    m_pWorld->Peer().HangUp();
  }
  EXPECT_FALSE(ReadSome(hPort).bDone);
  EXPECT_FALSE(WriteAll(hPort, "$v\r"));
  EXPECT_EQ(CreateFileW(u"COM2:"), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(CloseHandle(hPort)) << "the handle is the caller's until it gives it up";
  EXPECT_FALSE(CloseHandle(hPort));
}

TEST_P(SerialPortsContract, AWriteToADeviceThatVanishedFails) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  m_pWorld->Peer().HangUp();
  EXPECT_FALSE(WriteAll(hPort, "$v\r"));
  EXPECT_FALSE(ReadSome(hPort).bDone);
  CloseHandle(hPort);
}

TEST_P(SerialPortsContract, ForeignHandlesAreRefused) {
  const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
  for (const HANDLE handle : {HANDLE{0}, INVALID_HANDLE_VALUE, hEvent}) ExpectEveryCallFails(handle);
  CloseHandle(hEvent);
}

INSTANTIATE_TEST_SUITE_P(Boards, SerialPortsContract, AllBoards(), BoardName);

}  // namespace
}  // namespace contract
