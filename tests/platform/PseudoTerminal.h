/// The far end of a serial line that is a pseudo-terminal.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "BoardUnderTest.h"
#include "platform/posix/PosixLineSettings.h"

class PseudoTerminal final : public SerialPeer {
 public:
  PseudoTerminal() : m_nMaster(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(grantpt(m_nMaster), 0);
    EXPECT_EQ(unlockpt(m_nMaster), 0);
    std::array<char, 64> name{};
    EXPECT_EQ(ptsname_r(m_nMaster, name.data(), name.size()), 0);
    m_strDevice = name.data();
    // Keeps the line up while nobody has it open. The line stays as a person's terminal is: with echo and line editing.
    m_nKeeper = open(m_strDevice.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  ~PseudoTerminal() override {
    HangUp();
    close(m_nKeeper);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  [[nodiscard]] const std::string& Device() const { return m_strDevice; }
  /// The line as the kernel holds it.
  [[nodiscard]] termios Settings() const {
    termios settings{};
    EXPECT_EQ(tcgetattr(m_nKeeper, &settings), 0);
    return settings;
  }
  /// The C library tells only rates that have a code.
  [[nodiscard]] photometer::DWORD Rate() const {
    photometer::platform::DCB state{};
    EXPECT_TRUE(photometer::platform::ReadLineSettings(m_nKeeper, &state));
    return state.BaudRate;
  }

  /// Bytes that have come through and that nobody has read; a line that hangs up loses them.
  [[nodiscard]] int Unread() const {
    int nBytes = 0;
    EXPECT_EQ(ioctl(m_nKeeper, FIONREAD, &nBytes), 0);
    return nBytes;
  }

  void Send(std::string_view bytes) override {
    while (!bytes.empty()) {
      const ssize_t nWritten = write(m_nMaster, bytes.data(), bytes.size());
      ASSERT_GT(nWritten, 0);
      bytes.remove_prefix(static_cast<std::size_t>(nWritten));
    }
  }

  std::string Receive(std::size_t nBytes) override {
    constexpr int nPatience = 10'000;  // ms
    std::string received;
    std::array<char, 4096> block{};
    pollfd descriptor{m_nMaster, POLLIN, 0};
    while (received.size() < nBytes && poll(&descriptor, 1, nPatience) == 1) {
      const ssize_t nRead = read(m_nMaster, block.data(), block.size());
      if (nRead <= 0) break;
      received.append(block.data(), static_cast<std::size_t>(nRead));
    }
    return received;
  }

  void HangUp() override {
    if (m_nMaster >= 0) close(m_nMaster);
    m_nMaster = -1;
  }

 private:
  int m_nMaster;
  int m_nKeeper = -1;
  std::string m_strDevice;
};
