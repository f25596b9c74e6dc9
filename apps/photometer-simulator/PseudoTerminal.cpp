#include "PseudoTerminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace serving {

namespace {

[[noreturn]] void Fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

PseudoTerminal::PseudoTerminal() : m_iMaster(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
  std::array<char, 128> name{};
  if (m_iMaster < 0 || grantpt(m_iMaster) != 0 || unlockpt(m_iMaster) != 0 ||
      ptsname_r(m_iMaster, name.data(), name.size()) != 0) {
    Fail("no pseudo-terminal can be had");
  }
  m_strPath = name.data();
  m_iSlave = open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios settings{};
  if (m_iSlave < 0 || tcgetattr(m_iSlave, &settings) != 0) {
    Fail("the pseudo-terminal cannot be opened");
  }
  cfmakeraw(&settings);
  if (tcsetattr(m_iSlave, TCSANOW, &settings) != 0) {
    Fail("the pseudo-terminal cannot be set up");
  }
}

PseudoTerminal::~PseudoTerminal() {
  close(m_iSlave);
  close(m_iMaster);
}

std::string PseudoTerminal::Read() {
  std::array<char, 4096> buffer{};
  const ssize_t nRead = read(m_iMaster, buffer.data(), buffer.size());
  return nRead > 0 ? std::string(buffer.data(), static_cast<std::size_t>(nRead)) : std::string();
}

std::size_t PseudoTerminal::Write(std::string_view bytes) {
  const ssize_t nWritten = write(m_iMaster, bytes.data(), bytes.size());
  return nWritten > 0 ? static_cast<std::size_t>(nWritten) : 0;
}

std::size_t PseudoTerminal::Unread() const {
  int iCount = 0;
  return ioctl(m_iSlave, FIONREAD, &iCount) == 0 && iCount > 0 ? static_cast<std::size_t>(iCount) : 0;
}

void PseudoTerminal::DropUnread() { tcflush(m_iSlave, TCIFLUSH); }

}  // namespace serving
