#include <optional>
#include <string>

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
  HANDLE OpenPort(const char16_t* name, const COMMTIMEOUTS& timeouts) {
    const HANDLE hPort = Keep(CreateFileW(name));
    EXPECT_NE(hPort, INVALID_HANDLE_VALUE);
    DCB state{};
    EXPECT_TRUE(GetCommState(hPort, &state));
    state = {DCB_LENGTH, 115'200, 0, 8, NOPARITY, ONESTOPBIT};
    EXPECT_TRUE(SetCommState(hPort, &state));
    EXPECT_TRUE(SetCommMask(hPort, EventMask));
    EXPECT_TRUE(SetCommTimeouts(hPort, &timeouts));
    return hPort;
  }

  /// What one read brings; nothing when it fails.
  static std::optional<std::string> ReadSome(HANDLE hPort, DWORD dwBytes = MostBytes) {
    std::string bytes(dwBytes, '\0');
    DWORD dwRead = 0;
    const BOOL bDone = ReadFile(hPort, bytes.data(), dwBytes, &dwRead);
    bytes.resize(dwRead);
    return bDone != FALSE ? std::optional(bytes) : std::nullopt;
  }

  static std::string ReadAll(HANDLE hPort, std::size_t nBytes) {
    std::string all;
    while (all.size() < nBytes) {
      const std::string bytes = ReadSome(hPort).value_or("");
      if (bytes.empty()) break;
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
    EXPECT_EQ(ReadSome(hPort), std::nullopt);
    EXPECT_FALSE(WriteAll(hPort, "x"));
    EXPECT_FALSE(GetCommState(hPort, &state));
    EXPECT_FALSE(SetCommState(hPort, &state));
    EXPECT_FALSE(SetCommMask(hPort, EventMask));
    EXPECT_FALSE(SetCommTimeouts(hPort, &UsualTimeouts));
    EXPECT_FALSE(PurgeComm(hPort, 0));
  }
};

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
  const DCB seven{DCB_LENGTH, 19'200, DCB_CHECK_PARITY, 7, EVENPARITY, TWOSTOPBITS};
  EXPECT_TRUE(SetCommState(hPort, &seven));
  // Rate 0; byte sizes 4 and 9; a parity that there is not; one and a half stop bits, and three.
  for (const DCB& wrong :
       {DCB{DCB_LENGTH, 0, 0, 8, 0, 0}, DCB{DCB_LENGTH, 9'600, 0, 4, 0, 0}, DCB{DCB_LENGTH, 9'600, 0, 9, 0, 0},
        DCB{DCB_LENGTH, 9'600, 0, 8, 3, 0}, DCB{DCB_LENGTH, 9'600, 0, 8, 0, 1}, DCB{DCB_LENGTH, 9'600, 0, 8, 0, 3}}) {
    EXPECT_FALSE(SetCommState(hPort, &wrong)) << wrong.BaudRate << ' ' << +wrong.ByteSize << ' ' << +wrong.StopBits;
  }
  DCB state{};
  EXPECT_TRUE(GetCommState(hPort, &state));
  EXPECT_EQ(state.BaudRate, seven.BaudRate);
  EXPECT_EQ(state.Flags & DCB_CHECK_PARITY, DCB_CHECK_PARITY);
  EXPECT_EQ(state.ByteSize, seven.ByteSize);
  EXPECT_EQ(state.Parity, seven.Parity);
  EXPECT_EQ(state.StopBits, seven.StopBits);
}

TEST_P(SerialPortsContract, AReadOfAnEmptyLineEndsWithoutBytesAfterMultiplierTimesBytesAndConstant) {
  for (const char16_t* name : {u"COM2:", u"COM1:"}) {
    const HANDLE hPort = OpenPort(name, UsualTimeouts);
    const std::uint64_t nStart = Microseconds();
    EXPECT_EQ(ReadSome(hPort), "");
    EXPECT_GE(Microseconds() - nStart, 193'000U);
    CloseHandle(hPort);
  }
}

TEST_P(SerialPortsContract, AReadEndsByASilentIntervalTheTotalTimeOrAFullBuffer) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  for (const char* text : {"$v\r", "ok"}) {
    m_pWorld->Peer().Send(text);
    EXPECT_EQ(ReadAll(hPort, std::string_view(text).size()), text);
  }
  const COMMTIMEOUTS noInterval{0, 0, 50, 0, 50};
  SetCommTimeouts(hPort, &noInterval);
  const std::uint64_t nStart = Microseconds();
  m_pWorld->Peer().Send("ok");
  EXPECT_EQ(ReadSome(hPort), "ok");
  EXPECT_GE(Microseconds() - nStart, 50'000U);
  const COMMTIMEOUTS longInterval{OneMinute, 0, OneMinute, 1, 1};
  SetCommTimeouts(hPort, &longInterval);
  m_pWorld->Peer().Send("12345678");
  EXPECT_EQ(ReadSome(hPort, 5), "12345");
  EXPECT_EQ(ReadSome(hPort, 3), "678");
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
}

TEST_P(SerialPortsContract, EveryByteValuePassesUnchangedAndInOrderBothWaysAtOnce) {
  constexpr std::size_t nPiece = 64;
  std::string sent;
  for (int i = 0; i < 2'048; ++i) sent.push_back(static_cast<char>(i * 7));
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
        for (std::size_t i = 0; i < sent.size(); i += nPiece) EXPECT_TRUE(WriteAll(hPort, sent.substr(i, nPiece)));
      });
      EXPECT_EQ(ReadAll(hPort, sent.size()), sent);
    }
    EXPECT_EQ(peer.Receive(sent.size()), sent);
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
}

TEST_P(SerialPortsContract, PurgeDiscardsWhatItsFlagsSay) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  m_pWorld->Peer().Send("kept");
  Sleep(AWhile);
  EXPECT_TRUE(PurgeComm(hPort, 0));
  EXPECT_EQ(ReadAll(hPort, 4), "kept");
  m_pWorld->Peer().Send("old");
  Sleep(AWhile);
  EXPECT_TRUE(PurgeComm(hPort, PURGE_RXCLEAR));
  m_pWorld->Peer().Send("new");
  EXPECT_EQ(ReadAll(hPort, 3), "new");
}

TEST_P(SerialPortsContract, CloseEndsAReadThatWaits) {
  const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
  {
    const Thread reader([&] { EXPECT_EQ(ReadSome(hPort), std::nullopt); });
    Sleep(AWhile);
    EXPECT_TRUE(CloseHandle(hPort));
    const HANDLE hAgain = CreateFileW(u"COM2:");
    EXPECT_NE(hAgain, INVALID_HANDLE_VALUE) << "the reader may still be on its way out";
    CloseHandle(hAgain);
  }
  ExpectEveryCallFails(hPort);
  EXPECT_FALSE(CloseHandle(hPort));
}

TEST_P(SerialPortsContract, ADeviceThatVanishesFailsTheCallThatFindsOutAndEveryLaterOne) {
  for (const bool bReads : {true, false}) {
    MakeBoard(UsualStartTick);
    const HANDLE hPort = OpenPort(u"COM2:", PatientTimeouts);
    {
      // Without the reader it is the write that finds out.
      const Thread reader([&] { EXPECT_FALSE(bReads && ReadSome(hPort).has_value()); });
      Sleep(AWhile);
      m_pWorld->Peer().HangUp();
    }
    EXPECT_FALSE(WriteAll(hPort, "$v\r"));
    EXPECT_EQ(ReadSome(hPort), std::nullopt);
    EXPECT_EQ(CreateFileW(u"COM2:"), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(CloseHandle(hPort)) << "the handle is the caller's until it gives it up";
    EXPECT_FALSE(CloseHandle(hPort));
  }
}

TEST_P(SerialPortsContract, ForeignHandlesAreRefused) {
  const HANDLE hEvent = Keep(CreateEventW(FALSE, FALSE, nullptr));
  for (const HANDLE handle : {HANDLE{0}, INVALID_HANDLE_VALUE, hEvent}) ExpectEveryCallFails(handle);
}

INSTANTIATE_TEST_SUITE_P(Boards, SerialPortsContract, AllBoards(), BoardName);

}  // namespace
}  // namespace contract
