#include "platform/LineFormat.h"

namespace photometer::platform {

namespace {

constexpr BYTE SmallestByteSize = 5;
constexpr BYTE LargestByteSize = 8;

}  // namespace

bool IsPossible(const DCB& state) {
  const bool bByteSize = state.ByteSize >= SmallestByteSize && state.ByteSize <= LargestByteSize;
  const bool bStopBits = state.StopBits == ONESTOPBIT || state.StopBits == TWOSTOPBITS;
  return state.DCBlength == DCB_LENGTH && state.BaudRate != 0 && bByteSize && state.Parity <= EVENPARITY && bStopBits;
}

DWORD BitsPerCharacter(const DCB& state) {
  return 1U + state.ByteSize + (state.Parity == NOPARITY ? 0U : 1U) + (state.StopBits == TWOSTOPBITS ? 2U : 1U);
}

}  // namespace photometer::platform
