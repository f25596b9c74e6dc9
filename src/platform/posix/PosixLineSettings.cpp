#include "platform/posix/PosixLineSettings.h"

#include <linux/serial.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>

#include <asm/termbits.h>

#include "platform/LineFormat.h"
#include "platform/posix/PosixClock.h"

namespace photometer::platform {
namespace {

struct StandardRate {
  DWORD dwRate;
  tcflag_t code;
};
/// Old drivers know these codes only; every other rate goes by its number.
constexpr std::array StandardRates{
    StandardRate{50, B50},           StandardRate{75, B75},           StandardRate{110, B110},
    StandardRate{134, B134},         StandardRate{150, B150},         StandardRate{200, B200},
    StandardRate{300, B300},         StandardRate{600, B600},         StandardRate{1200, B1200},
    StandardRate{1800, B1800},       StandardRate{2400, B2400},       StandardRate{4800, B4800},
    StandardRate{9600, B9600},       StandardRate{19200, B19200},     StandardRate{38400, B38400},
    StandardRate{57600, B57600},     StandardRate{115200, B115200},   StandardRate{230400, B230400},
    StandardRate{460800, B460800},   StandardRate{500000, B500000},   StandardRate{576000, B576000},
    StandardRate{921600, B921600},   StandardRate{1000000, B1000000}, StandardRate{1152000, B1152000},
    StandardRate{1500000, B1500000}, StandardRate{2000000, B2000000}, StandardRate{2500000, B2500000},
    StandardRate{3000000, B3000000}, StandardRate{3500000, B3500000}, StandardRate{4000000, B4000000}};

struct ByteSizeCode {
  BYTE byteSize;
  tcflag_t code;
};
constexpr std::array ByteSizeCodes{ByteSizeCode{5, CS5}, ByteSizeCode{6, CS6}, ByteSizeCode{7, CS7},
                                   ByteSizeCode{8, CS8}};

constexpr tcflag_t FramingFlags = CSIZE | PARENB | PARODD | CMSPAR | CSTOPB;

tcflag_t RateCode(DWORD dwRate) {
  const auto found = std::ranges::find(StandardRates, dwRate, &StandardRate::dwRate);
  return found != StandardRates.end() ? found->code : BOTHER;
}

tcflag_t FramingCode(const DCB& state) {
  tcflag_t code = std::ranges::find(ByteSizeCodes, state.ByteSize, &ByteSizeCode::byteSize)->code;
  if (state.Parity != NOPARITY) code |= PARENB;
  if (state.Parity == ODDPARITY) code |= PARODD;
  if (state.StopBits == TWOSTOPBITS) code |= CSTOPB;
  return code;
}

BYTE ParityOf(tcflag_t flags) {
  if ((flags & PARENB) == 0) return NOPARITY;
  return (flags & PARODD) != 0 ? ODDPARITY : EVENPARITY;
}

/// The far end of a pseudo-terminal is a program; the kernel keeps eight bits without parity there.
bool IsPseudoTerminal(int nDescriptor) {
  constexpr unsigned nFirstMajor = 136;
  constexpr unsigned nLastMajor = 143;
  struct stat status {};
  if (fstat(nDescriptor, &status) != 0) return false;
  const unsigned nMajor = major(status.st_rdev);
  return nMajor >= nFirstMajor && nMajor <= nLastMajor;
}

bool IsRateTaken(DWORD dwWanted, DWORD dwTaken) {
  constexpr std::int64_t nTolerance = 50;  // 1/50 is 2 %, half of what a receiver can bear
  const std::int64_t nDifference = std::int64_t{dwWanted} - std::int64_t{dwTaken};
  return (nDifference < 0 ? -nDifference : nDifference) * nTolerance <= std::int64_t{dwWanted};
}

}  // namespace

bool MakeLineRaw(int nDescriptor) {
  termios2 line{};
  if (ioctl(nDescriptor, TCGETS2, &line) != 0) return false;
  line.c_iflag = IGNBRK;
  line.c_oflag = 0;
  line.c_lflag = 0;
  line.c_cflag = (line.c_cflag & ~CRTSCTS) | CREAD | CLOCAL;
  // A read that finds nothing must differ from one on a line that is gone, which gives no bytes and no error.
  line.c_cc[VMIN] = 1;
  line.c_cc[VTIME] = 0;
  return ioctl(nDescriptor, TCSETS2, &line) == 0;
}

bool ReadLineSettings(int nDescriptor, DCB* pState) {
  termios2 line{};
  if (ioctl(nDescriptor, TCGETS2, &line) != 0) return false;
  const auto size = std::ranges::find(ByteSizeCodes, line.c_cflag & CSIZE, &ByteSizeCode::code);
  pState->DCBlength = DCB_LENGTH;
  pState->BaudRate = line.c_ospeed;
  pState->Flags = (line.c_iflag & INPCK) != 0 ? DCB_CHECK_PARITY : 0;
  pState->ByteSize = size->byteSize;
  pState->Parity = ParityOf(line.c_cflag);
  pState->StopBits = (line.c_cflag & CSTOPB) != 0 ? TWOSTOPBITS : ONESTOPBIT;
  return true;
}

bool ApplyLineSettings(int nDescriptor, const DCB& state) {
  termios2 line{};
  if (!IsPossible(state) || ioctl(nDescriptor, TCGETS2, &line) != 0) return false;
  // The input rate follows the output rate when its own code is 0.
  constexpr tcflag_t rateFlags = CBAUD | (tcflag_t{CBAUD} << IBSHIFT);
  line.c_cflag = (line.c_cflag & ~(FramingFlags | rateFlags)) | FramingCode(state) | RateCode(state.BaudRate);
  line.c_ispeed = state.BaudRate;
  line.c_ospeed = state.BaudRate;
  line.c_iflag &= ~tcflag_t{INPCK};
  if ((state.Flags & DCB_CHECK_PARITY) != 0) line.c_iflag |= INPCK;
  if (ioctl(nDescriptor, TCSETS2, &line) != 0) return false;

  // The call succeeds when the driver has taken any one of the settings.
  if (ioctl(nDescriptor, TCGETS2, &line) != 0 || !IsRateTaken(state.BaudRate, line.c_ospeed)) return false;
  return (line.c_cflag & FramingFlags) == FramingCode(state) || IsPseudoTerminal(nDescriptor);
}

void RequestLowLatency(int nDescriptor) {
  serial_struct serial{};
  if (ioctl(nDescriptor, TIOCGSERIAL, &serial) != 0) return;
  serial.flags |= ASYNC_LOW_LATENCY;
  static_cast<void>(ioctl(nDescriptor, TIOCSSERIAL, &serial));
}

DWORD BytesInOutputQueue(int nDescriptor) {
  int nBytes = 0;
  if (ioctl(nDescriptor, TIOCOUTQ, &nBytes) != 0 || nBytes < 0) return 0;
  return static_cast<DWORD>(nBytes);
}

bool DiscardQueues(int nDescriptor, bool bInput, bool bOutput) {
  if (!bInput && !bOutput) return true;
  if (bInput && bOutput) return ioctl(nDescriptor, TCFLSH, TCIOFLUSH) == 0;
  return ioctl(nDescriptor, TCFLSH, bInput ? TCIFLUSH : TCOFLUSH) == 0;
}

std::int64_t NanosecondsPerByte(const DCB& state) {
  return std::int64_t{BitsPerCharacter(state)} * NanosecondsPerSecond / std::max<std::int64_t>(state.BaudRate, 1);
}

}  // namespace photometer::platform
