#include <sys/file.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <optional>
#include <thread>

#include "PseudoTerminal.h"
#include "platform/posix/PosixSerialPorts.h"

namespace photometer::platform {
namespace {

constexpr DCB UsualState{DCB_LENGTH, 115'200, 0, 8, NOPARITY, ONESTOPBIT};
constexpr DWORD OneMinute = 60'000;

class PosixSerialPortsTest : public testing::Test {
 protected:
  HANDLE Open() {
    const HANDLE handle = m_ports.Open(u"COM2:");
    EXPECT_NE(handle, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(m_ports.SetState(handle, UsualState));
    EXPECT_TRUE(m_ports.SetTimeouts(handle, {1, 0, OneMinute, 1, 1}));
    return handle;
  }

  /// What one read brings; nothing when it fails.
  std::optional<std::string> Read(HANDLE handle) {
    std::string bytes(192, '\0');
    DWORD dwRead = 0;
    const bool bRead = m_ports.Read(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &dwRead);
    bytes.resize(dwRead);
    return bRead ? std::optional(bytes) : std::nullopt;
  }

  PseudoTerminal m_peer;
  PosixSerialPorts m_ports{{{u"COM2:", m_peer.Device(), false},
                            {u"COM3:", m_peer.Device(), false},
                            {u"COM4:", "/dev/no-such-device", false},
                            {u"COM5:", "/dev/null", false}}};
};

TEST_F(PosixSerialPortsTest, OnlySerialLinesThatNobodyHoldsCanBeOpened) {
  EXPECT_EQ(m_ports.Open(u"COM4:"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(m_ports.Open(u"COM5:"), INVALID_HANDLE_VALUE);
  const int nForeign = open(m_peer.Device().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_GE(nForeign, 0);
  const HANDLE handle = Open();
  EXPECT_EQ(m_ports.Open(u"COM3:"), INVALID_HANDLE_VALUE) << "another name of the same device";
  EXPECT_NE(flock(nForeign, LOCK_EX | LOCK_NB), 0);
  EXPECT_TRUE(m_ports.Close(handle));
  EXPECT_EQ(flock(nForeign, LOCK_EX | LOCK_NB), 0);
  EXPECT_EQ(m_ports.Open(u"COM2:"), INVALID_HANDLE_VALUE) << "somebody else holds it";
  close(nForeign);
  EXPECT_TRUE(m_ports.Close(Open()));
}

TEST_F(PosixSerialPortsTest, TheLineIsRawAndHasTheExactRate) {
  const HANDLE handle = Open();
  for (const DWORD dwRate : {9'600U, 19'200U, 115'200U, 250'000U, 31'250U}) {
    DCB state = UsualState;
    state.BaudRate = dwRate;
    EXPECT_TRUE(m_ports.SetState(handle, state));
    EXPECT_EQ(m_peer.Rate(), dwRate);
  }
  const termios line = m_peer.Settings();
  EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG | IEXTEN), 0U);
  EXPECT_EQ(line.c_oflag & OPOST, 0U);
  EXPECT_EQ(line.c_iflag & (ICRNL | INLCR | IGNCR | ISTRIP | IXON | IXOFF), 0U);
  EXPECT_EQ(line.c_cflag & CRTSCTS, 0U);
  EXPECT_NE(line.c_cflag & CLOCAL, 0U);
}

TEST_F(PosixSerialPortsTest, AWriteThatTheLineDoesNotTakeTellsHowFarItCame) {
  const HANDLE handle = Open();
  DCB state = UsualState;
  state.BaudRate = 4'000'000;
  EXPECT_TRUE(m_ports.SetState(handle, state));
  EXPECT_TRUE(m_ports.SetTimeouts(handle, {1, 1, 1, 0, 1}));
  const std::string bytes(40'000, 'x');
  DWORD dwWritten = 0;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(m_ports.Write(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &dwWritten));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100)) << "what the bytes need";
  EXPECT_GT(dwWritten, 0U);
  EXPECT_LT(dwWritten, bytes.size());
  EXPECT_EQ(m_peer.Receive(dwWritten).size(), dwWritten);
  EXPECT_TRUE(m_ports.Write(handle, "$v\r", 3, &dwWritten));
}

TEST_F(PosixSerialPortsTest, AWriteThatWaitsHoldsUpNoReadAndEndsWithClose) {
  const HANDLE handle = Open();
  EXPECT_TRUE(m_ports.SetTimeouts(handle, {1, 0, OneMinute, 0, OneMinute}));
  std::thread writer([&] {
    const std::string bytes(100'000, 'x');
    DWORD dwWritten = 0;
    EXPECT_FALSE(m_ports.Write(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &dwWritten));
  });
  // The writer has filled the line, or is about to.
  EXPECT_FALSE(m_peer.Receive(1).empty());
  m_peer.Send("ok");
  EXPECT_EQ(Read(handle), "ok");
  EXPECT_TRUE(m_ports.Close(handle));
  writer.join();
}

TEST_F(PosixSerialPortsTest, SignalsNeitherEndNorShortenARead) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  const HANDLE handle = Open();
  EXPECT_TRUE(m_ports.SetTimeouts(handle, {1, 0, 100, 1, 1}));
  std::atomic<bool> bDone = false;
  std::thread reader([&] {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Read(handle), "");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    bDone = true;
  });
  while (!bDone) {
    pthread_kill(reader.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
  }
  reader.join();
}

TEST_F(PosixSerialPortsTest, BytesThatCameBeforeTheLossAreDelivered) {
  const HANDLE handle = Open();
  EXPECT_TRUE(m_ports.SetTimeouts(handle, {OneMinute, 0, OneMinute, 1, 1}));
  const auto waitForUnread = [&](int nBytes) {
    while (m_peer.Unread() != nBytes) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  };
  m_peer.Send("last");
  waitForUnread(4);
  std::thread unplugger([&] {
    waitForUnread(0);
    m_peer.HangUp();
  });
  EXPECT_EQ(Read(handle), "last");
  EXPECT_EQ(Read(handle), std::nullopt);
  unplugger.join();
}

TEST_F(PosixSerialPortsTest, NoDescriptorIsLeftByCloseLossOrFailedOpens) {
  const auto openDescriptors = [] {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
  };
  EXPECT_TRUE(m_ports.Close(Open()));
  const std::ptrdiff_t nBefore = openDescriptors();
  EXPECT_TRUE(m_ports.Close(Open()));
  EXPECT_EQ(m_ports.Open(u"COM5:"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(openDescriptors(), nBefore);
  const HANDLE handle = Open();
  m_peer.HangUp();
  EXPECT_EQ(Read(handle), std::nullopt);
  EXPECT_EQ(openDescriptors(), nBefore - 1) << "the lost port's are closed at once, the far end is gone";
}

}  // namespace
}  // namespace photometer::platform
